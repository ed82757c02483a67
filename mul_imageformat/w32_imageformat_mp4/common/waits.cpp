#include "common/waits.h"

std::uint64_t GetMilliseconds()
{
    return GetTickCount64();
}

DWORD AwaitAny(const HANDLE* phAny, DWORD dwCount, DWORD dwLimit)
{
    return WaitForMultipleObjects(dwCount, phAny, FALSE, dwLimit);
}

void Rest(DWORD dwMilliseconds)
{
    Sleep(dwMilliseconds);
}
