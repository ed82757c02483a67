#include "parts/interruption.h"

#include <atomic>
#include <csignal>

#include <unistd.h>

namespace qmhost
{
namespace
{

std::atomic<int> g_nSignal = 0;  // the first one
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may use nothing else");

void Note(int nSignal)
{
    int nNone = 0;
    if (g_nSignal.compare_exchange_strong(nNone, nSignal)) return;
    // Both the shell and the system may report that the terminal has gone. That is one request.
    if (nSignal != SIGHUP) _exit(128 + nSignal);
}

}  // namespace

void NoteInterruptions()
{
    std::signal(SIGPIPE, SIG_IGN);
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

}  // namespace qmhost
