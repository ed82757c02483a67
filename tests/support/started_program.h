// Another program that is watched and sent signals while it runs. Not on Windows.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "support/run_program.h"
#include "support/temporary_folder.h"

namespace test_support
{

// One that still runs at the end of the object is ended. Its standard output is a pipe that holds very little: a
// program that writes many lines waits for the test.
class StartedProgram
{
public:
    // So many lines of ten bytes are more than the pipe and the buffer of this object hold together.
    static constexpr int MANY_LINES = 2000;

    // As RunProgram, without waiting for its end.
    StartedProgram(const std::string& strProgram, const std::vector<std::string>& vArguments,
                   const std::vector<std::string>& vEnvironment = {});
    ~StartedProgram();
    StartedProgram(const StartedProgram&) = delete;
    StartedProgram& operator=(const StartedProgram&) = delete;

    // The next whole line of its standard output; waits for it. Nothing after the last one.
    std::optional<std::string> ReadLine();

    // Waits for so many bytes of its standard output since its start. False when there aren't as many.
    bool ReadBytes(std::size_t uiBytes);

    // Waits for what the program brings about. False when the program ends without it. Its standard output isn't read
    // meanwhile: a program that has filled the pipe waits too.
    bool WaitFor(const std::function<bool()>& hasHappened) const;

    // The same for a text on standard error.
    bool WaitForErr(const std::string& strText) const;

    // Whatever the program still writes to standard output fails from now on.
    void StopReading();

    void Signal(int nSignal);

    // Again and again, since one that comes before the last one was taken counts no more than that.
    void SignalUntilItEnds(int nSignal);

    // Waits for the end. Standard output has the lines that ReadLine gave, too.
    ProgramResult Wait();

private:
    bool ReadMore();
    bool HasEnded() const;

    TemporaryFolder m_folder;
    std::string m_strOut;
    std::size_t m_uiRead = 0;
    int m_nOut = -1;       // also after StopReading
    pid_t m_nProcess = 0;  // 0 after its end
};

}  // namespace test_support
