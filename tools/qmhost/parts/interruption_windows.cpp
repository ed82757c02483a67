#include "parts/interruption.h"

#include <atomic>
#include <cerrno>

#include <windows.h>

namespace qmhost
{
namespace
{

constexpr int CTRL_C_STATUS = 130;
constexpr int END_STATUS = 143;

std::atomic<int> g_nStatus = 0;

// The system calls it on a thread of its own.
BOOL WINAPI Note(DWORD dwEvent)
{
    const bool bKey = dwEvent == CTRL_C_EVENT || dwEvent == CTRL_BREAK_EVENT;
    const int nStatus = bKey ? CTRL_C_STATUS : END_STATUS;
    int nNone = 0;
    if (!g_nStatus.compare_exchange_strong(nNone, nStatus))
        TerminateProcess(GetCurrentProcess(), static_cast<UINT>(nStatus));
    // When the window was closed the process ends as soon as this returns, and after a few seconds anyway.
    if (!bKey) Sleep(INFINITE);
    return TRUE;
}

}  // namespace

void NoteInterruptions()
{
    SetConsoleCtrlHandler(Note, TRUE);
}

int InterruptionStatus()
{
    return g_nStatus;
}

std::size_t ReadUntilInterrupted(std::FILE* pStream, std::span<unsigned char> bytes, std::error_code& error)
{
    errno = 0;
    const std::size_t uiRead = std::fread(bytes.data(), 1, bytes.size(), pStream);
    if (std::ferror(pStream)) error = std::error_code(errno != 0 ? errno : EIO, std::generic_category());
    return uiRead;
}

}  // namespace qmhost
