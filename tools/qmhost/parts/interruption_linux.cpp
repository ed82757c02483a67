#include "parts/interruption.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace qmhost
{
namespace
{

std::atomic<int> g_nSignal = 0;  // the first one
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may use no other kind");

// Readable after the first signal, so that a wait for input ends in whatever thread the handler runs.
int g_nWake = -1;

void Note(int nSignal)
{
    int nNone = 0;
    if (g_nSignal.compare_exchange_strong(nNone, nSignal))
    {
        const int nErrno = errno;
        const std::uint64_t uiOne = 1;
        [[maybe_unused]] const auto nWritten = write(g_nWake, &uiOne, sizeof uiOne);
        errno = nErrno;
        return;
    }
    // Both the shell and the system may report that the terminal has gone. That is one request.
    if (nSignal != SIGHUP) _exit(128 + nSignal);
}

}  // namespace

void NoteInterruptions()
{
    std::signal(SIGPIPE, SIG_IGN);
    g_nWake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    for (const int nSignal : {SIGINT, SIGTERM, SIGHUP})
    {
        struct sigaction action = {};
        if (sigaction(nSignal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
        action = {};
        action.sa_handler = Note;
        action.sa_flags = SA_RESTART;  // calls of the module and of libraries aren't to fail
        sigaction(nSignal, &action, nullptr);
    }
}

int InterruptionStatus()
{
    const int nSignal = g_nSignal;
    return nSignal == 0 ? 0 : 128 + nSignal;
}

std::size_t ReadUntilInterrupted(std::FILE* pStream, std::span<unsigned char> bytes, std::error_code& error)
{
    pollfd aWaits[] = {{fileno(pStream), POLLIN, 0}, {g_nWake, POLLIN, 0}};
    std::size_t uiRead = 0;
    while (uiRead < bytes.size())
    {
        if (poll(aWaits, 2, -1) < 0 && errno != EINTR) break;
        if (InterruptionStatus() != 0) return uiRead;
        const ssize_t nBytes = read(aWaits[0].fd, bytes.data() + uiRead, bytes.size() - uiRead);
        if (nBytes == 0) return uiRead;
        if (nBytes > 0)
            uiRead += static_cast<std::size_t>(nBytes);
        else if (errno != EINTR && errno != EAGAIN)
            break;
    }
    if (uiRead < bytes.size()) error = std::error_code(errno, std::generic_category());
    return uiRead;
}

}  // namespace qmhost
