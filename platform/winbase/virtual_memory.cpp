#include <map>
#include <mutex>

#include <sys/mman.h>

#include "memoryapi.h"
#include "platform/winbase/last_error.h"

namespace winbase
{
namespace
{

// The sizes of all allocations by their starts: the system needs the size to give one back.
struct Allocations
{
    std::mutex mutex;
    std::map<void*, SIZE_T> sizes;
};

Allocations& AllAllocations()
{
    static Allocations& s_allocations = *new Allocations;
    return s_allocations;
}

}  // namespace
}  // namespace winbase

using namespace winbase;

LPVOID WINAPI VirtualAlloc(LPVOID pAddress, SIZE_T uiSize, DWORD dwType, DWORD dwProtect)
{
    if (pAddress || uiSize == 0 || !(dwType & MEM_COMMIT) || (dwType & ~(MEM_COMMIT | MEM_RESERVE)) ||
        dwProtect != PAGE_READWRITE)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return WithoutExceptions<LPVOID>(nullptr, [&]() -> LPVOID {
        Allocations& all = AllAllocations();
        const std::lock_guard lock(all.mutex);
        void* const pPages = mmap(nullptr, uiSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pPages == MAP_FAILED)
        {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
        try
        {
            all.sizes[pPages] = uiSize;
        }
        catch (...)
        {
            munmap(pPages, uiSize);
            throw;
        }
        return pPages;
    });
}

BOOL WINAPI VirtualFree(LPVOID pAddress, SIZE_T uiSize, DWORD dwType)
{
    if (uiSize != 0 || dwType != MEM_RELEASE)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    Allocations& all = AllAllocations();
    const std::lock_guard lock(all.mutex);
    const auto it = all.sizes.find(pAddress);
    if (it == all.sizes.end())
    {
        SetLastError(ERROR_INVALID_ADDRESS);
        return FALSE;
    }
    munmap(pAddress, it->second);
    all.sizes.erase(it);
    return TRUE;
}
