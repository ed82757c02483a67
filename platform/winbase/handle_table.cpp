#include "platform/winbase/handle_table.h"

#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#include "platform/winbase/thread_object.h"

namespace winbase
{
namespace
{

// Looking a handle up takes the lock shared: it is on the way of every wait, and a lock that one thread at a time can
// have would make all threads look synchronised to a race detector.
struct HandleTable
{
    std::shared_mutex m_mutex;
    std::unordered_map<UINT_PTR, std::shared_ptr<Waitable>> m_mapObjects;
    UINT_PTR m_uiLast = 0;
};

// Never destroyed: threads may outlive the program's static objects.
HandleTable& Table()
{
    static HandleTable& s_table = *new HandleTable;
    return s_table;
}

UINT_PTR NumberOf(HANDLE hObject)
{
    return reinterpret_cast<UINT_PTR>(hObject);
}

}  // namespace

HANDLE OpenHandle(std::shared_ptr<Waitable> pObject)
{
    HandleTable& table = Table();
    const std::unique_lock lock(table.m_mutex);
    const UINT_PTR uiNumber = table.m_uiLast + 4;  // multiples of four, as handles are
    table.m_mapObjects.emplace(uiNumber, std::move(pObject));
    table.m_uiLast = uiNumber;
    return reinterpret_cast<HANDLE>(uiNumber);
}

std::shared_ptr<Waitable> FindObject(HANDLE hObject)
{
    if (hObject == GetCurrentThread())
    {
        return CurrentThreadObject();
    }
    HandleTable& table = Table();
    const std::shared_lock lock(table.m_mutex);
    const auto it = table.m_mapObjects.find(NumberOf(hObject));
    return it == table.m_mapObjects.end() ? nullptr : it->second;
}

}  // namespace winbase

using namespace winbase;

BOOL WINAPI CloseHandle(HANDLE hObject)
{
    if (hObject == GetCurrentThread())
    {
        return TRUE;
    }
    HandleTable& table = Table();
    std::shared_ptr<Waitable> pObject;  // destroyed after the lock is free
    const std::unique_lock lock(table.m_mutex);
    const auto it = table.m_mapObjects.find(NumberOf(hObject));
    if (it == table.m_mapObjects.end())
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    pObject = std::move(it->second);
    table.m_mapObjects.erase(it);
    return TRUE;
}
