#include <functional>
#include <thread>

#include "platform/winbase/handle_table.h"
#include "platform/winbase/thread_object.h"
#include "process.h"

namespace winbase
{
namespace
{

// Starts a thread on `body`, which gets the thread's handle and returns the exit code.
HANDLE StartThread(std::function<DWORD(HANDLE)> body, DWORD dwFlags, LPDWORD lpThreadId)
{
    if (dwFlags & CREATE_SUSPENDED)
    {
        SetLastError(ERROR_NOT_SUPPORTED);
        return nullptr;
    }
    return WithoutExceptions<HANDLE>(nullptr, [&] {
        const auto pThread = std::make_shared<ThreadObject>(NextThreadId());
        const HANDLE hThread = OpenHandle(pThread);
        if (lpThreadId)
        {
            *lpThreadId = pThread->Id();
        }
        try
        {
            std::thread([pThread, hThread, body = std::move(body)] {
                BecomeThread(pThread);
                pThread->SetExitCode(body(hThread));
            }).detach();
        }
        catch (...)
        {
            CloseHandle(hThread);
            throw;
        }
        return hThread;
    });
}

}  // namespace
}  // namespace winbase

using namespace winbase;

HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES /*lpAttributes*/, SIZE_T /*uiStackSize*/,
                           LPTHREAD_START_ROUTINE pfnStart, LPVOID pParameter, DWORD dwFlags, LPDWORD lpThreadId)
{
    return StartThread([=](HANDLE) { return pfnStart(pParameter); }, dwFlags, lpThreadId);
}

std::uintptr_t _beginthread(void (*pfnStart)(void*), unsigned /*uiStackSize*/, void* pArgument)
{
    const HANDLE hThread = StartThread(
        [=](HANDLE hOwn) {
            pfnStart(pArgument);
            CloseHandle(hOwn);
            return DWORD{0};
        },
        0, nullptr);
    return hThread ? reinterpret_cast<std::uintptr_t>(hThread) : static_cast<std::uintptr_t>(-1);
}

std::uintptr_t _beginthreadex(void* /*pSecurity*/, unsigned /*uiStackSize*/, unsigned (*pfnStart)(void*),
                              void* pArgument, unsigned uiFlags, unsigned* puiThreadId)
{
    return reinterpret_cast<std::uintptr_t>(
        StartThread([=](HANDLE) { return DWORD{pfnStart(pArgument)}; }, uiFlags, puiThreadId));
}
