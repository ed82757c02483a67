// Failures of calls on demand: what the scripts of the platform's libraries have in common.
#pragma once

#include <array>
#include <mutex>

#include "winerror.h"

namespace platform
{

// Call is an enumeration whose last value is Count. Safe from any thread.
template <typename Call>
class CallScript
{
public:
    // No call fails on demand any more, and the counts start at 0 again.
    void Reset()
    {
        const std::lock_guard lock(m_lock);
        m_aEntries.fill({});
    }

    // The n-th call from now on (1 is the next) fails with hr; those before and after it work.
    void FailCall(Call eCall, unsigned uiNth, HRESULT hr)
    {
        const std::lock_guard lock(m_lock);
        Entry& entry = EntryOf(eCall);
        entry.uiCallsUntilFailure = uiNth;
        entry.hr = hr;
    }

    unsigned CallCount(Call eCall)
    {
        const std::lock_guard lock(m_lock);
        return EntryOf(eCall).uiCalls;
    }

    // Counts the call. S_OK, or what the call is to fail with.
    HRESULT Result(Call eCall)
    {
        const std::lock_guard lock(m_lock);
        Entry& entry = EntryOf(eCall);
        ++entry.uiCalls;
        if (entry.uiCallsUntilFailure == 0 || --entry.uiCallsUntilFailure > 0) return S_OK;
        return entry.hr;
    }

private:
    struct Entry
    {
        unsigned uiCalls = 0;
        unsigned uiCallsUntilFailure = 0;  // 0: none
        HRESULT hr = S_OK;
    };

    Entry& EntryOf(Call eCall) { return m_aEntries.at(static_cast<std::size_t>(eCall)); }

    std::mutex m_lock;
    std::array<Entry, static_cast<std::size_t>(Call::Count)> m_aEntries;
};

}  // namespace platform
