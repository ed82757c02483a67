// Handles: what the caller holds instead of addresses. None is used twice, so one that has ended stays unknown.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>

namespace nvencruntime
{

// Never null. Any thread.
inline void* MakeHandle()
{
    static std::atomic<std::uintptr_t> s_last{0};
    // Looks like an address, aligned as one.
    return reinterpret_cast<void*>((++s_last) << 4);
}

// Objects of one kind by their handles.
template <typename Kind>
class HandleTable
{
public:
    void* Add(std::shared_ptr<Kind> pObject)
    {
        void* const pHandle = MakeHandle();
        m_objects.emplace(pHandle, std::move(pObject));
        return pHandle;
    }
    // Null for a handle that isn't of this table.
    std::shared_ptr<Kind> Find(void* pHandle) const
    {
        const auto it = m_objects.find(pHandle);
        return it == m_objects.end() ? nullptr : it->second;
    }
    void Remove(void* pHandle) { m_objects.erase(pHandle); }
    void Clear() { m_objects.clear(); }

    std::uint32_t Count() const { return static_cast<std::uint32_t>(m_objects.size()); }
    auto begin() const { return m_objects.begin(); }
    auto end() const { return m_objects.end(); }

private:
    std::map<void*, std::shared_ptr<Kind>> m_objects;
};

}  // namespace nvencruntime
