// The calls of an interface, by the numbers of its entries: counted, and made to fail on request.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

namespace runtimes
{

// Guarded by its owner. An entry that isn't one has no calls and no rules.
template <int nEntries, typename Status>
class CallRules
{
public:
    // Of the calls of an entry from now on, the uiFirst-th (1 is the next) and the uiCount - 1 after it fail. Replaces
    // the entry's rule; uiCount 0 removes it.
    void Fail(int nEntry, std::uint32_t uiFirst, std::uint32_t uiCount, Status eStatus)
    {
        if (!IsEntry(nEntry))
        {
            return;
        }
        const std::uint64_t ui64First = std::uint64_t{m_calls[nEntry]} + uiFirst;
        m_failures[nEntry].reset();
        if (uiCount != 0)
        {
            m_failures[nEntry] = Failure{ui64First, ui64First + uiCount, eStatus};
        }
    }

    // Tables of entries made from now on are without it.
    void Lack(int nEntry)
    {
        if (IsEntry(nEntry))
        {
            m_lacking[nEntry] = true;
        }
    }

    std::uint32_t Count(int nEntry) const { return IsEntry(nEntry) ? m_calls[nEntry] : 0; }
    bool IsLacking(int nEntry) const { return IsEntry(nEntry) && m_lacking[nEntry]; }

    // Counts a call. Returns the status with which it has to fail, if it has to.
    std::optional<Status> OnCall(int nEntry)
    {
        const std::uint32_t uiCall = ++m_calls[nEntry];
        const std::optional<Failure>& failure = m_failures[nEntry];
        const bool bFails = failure && uiCall >= failure->ui64First && uiCall < failure->ui64End;
        return bFails ? std::optional(failure->eStatus) : std::nullopt;
    }

private:
    struct Failure
    {
        std::uint64_t ui64First;  // by number of the call
        std::uint64_t ui64End;
        Status eStatus;
    };

    static bool IsEntry(int nEntry) { return nEntry >= 0 && nEntry < nEntries; }

    std::array<std::uint32_t, nEntries> m_calls{};
    std::array<std::optional<Failure>, nEntries> m_failures;
    std::array<bool, nEntries> m_lacking{};
};

}  // namespace runtimes
