// Ctrl-C and the signals that ask a process to end.
#pragma once

#include <cstdio>
#include <exception>
#include <span>
#include <system_error>

namespace qmhost
{

// Ends a command early at a place where it leaves nothing half done.
class Interrupted : public std::exception
{
public:
    const char* what() const noexcept override { return "interrupted"; }
};

// From now on the first such request is noted and doesn't end the process. The second one ends it at once, whatever it
// waits for. A signal that the process was started to ignore stays ignored. A write to a pipe without
// a reader fails from now on, and doesn't end the process: Ctrl-C ends the reader too.
void NoteInterruptions();

// 0 before a request; then the exit status that shells give it: 130 after Ctrl-C, 143 after a request to end, 129 when
// the terminal has gone. Any thread may ask.
int InterruptionStatus();

// Fills the bytes from a stream, of which nothing was read in another way. Returns how many there were: fewer at the
// end of the stream, after an error, which is given back, and after a request. On Windows a request counts when the
// next bytes come or the stream ends.
std::size_t ReadUntilInterrupted(std::FILE* pStream, std::span<unsigned char> bytes, std::error_code& error);

inline void ThrowIfInterrupted()
{
    if (InterruptionStatus() != 0) throw Interrupted();
}

}  // namespace qmhost
