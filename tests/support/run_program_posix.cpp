#include "support/run_program.h"
#include "support/started_program.h"

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/temporary_folder.h"

namespace test_support
{

namespace
{

std::vector<char*> Pointers(std::vector<std::string>& vTexts)
{
    std::vector<char*> vPointers;
    for (std::string& text : vTexts)
        vPointers.push_back(text.data());
    vPointers.push_back(nullptr);
    return vPointers;
}

// Starts a program. Standard output goes to nOut, or to the file strOut if that isn't empty.
pid_t Start(const std::string& strProgram, const std::vector<std::string>& vArguments,
            const std::vector<std::string>& vEnvironment, int nOut, const std::string& strOut,
            const std::string& strErr)
{
    std::vector<std::string> vAll = {strProgram};
    vAll.insert(vAll.end(), vArguments.begin(), vArguments.end());
    std::vector<std::string> vVariables = vEnvironment;  // the first of a name counts
    for (char** pp = environ; *pp; ++pp)
        vVariables.emplace_back(*pp);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (strOut.empty()) posix_spawn_file_actions_adddup2(&actions, nOut, STDOUT_FILENO);
    if (!strOut.empty())
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, strOut.c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, strErr.c_str(), O_WRONLY | O_CREAT, 0600);
    // A test may run where Ctrl-C is ignored, as in the background of a script.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigemptyset(&signals);
    for (const int nSignal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, nSignal);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    pid_t nProcess = 0;
    const int nError = posix_spawnp(&nProcess, strProgram.c_str(), &actions, &attributes, Pointers(vAll).data(),
                                    Pointers(vVariables).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (nError != 0) throw std::runtime_error(strProgram + " can't be started");
    return nProcess;
}

int StatusAfterWaiting(pid_t nProcess)
{
    int nWait = 0;
    if (waitpid(nProcess, &nWait, 0) != nProcess) throw std::runtime_error("waitpid failed");
    return WIFEXITED(nWait) ? WEXITSTATUS(nWait) : 128 + WTERMSIG(nWait);
}

}  // namespace

ProgramResult RunProgram(const std::string& strProgram, const std::vector<std::string>& vArguments,
                         const std::vector<std::string>& vEnvironment, const std::string& strOutPath)
{
    const TemporaryFolder folder;
    const std::string strOut = strOutPath.empty() ? (folder / "out").string() : strOutPath;
    const std::string strErr = (folder / "err").string();
    ProgramResult result;
    result.m_nStatus = StatusAfterWaiting(Start(strProgram, vArguments, vEnvironment, -1, strOut, strErr));
    if (strOutPath.empty()) result.m_strOut = ReadText(strOut);
    result.m_strErr = ReadText(strErr);
    return result;
}

StartedProgram::StartedProgram(const std::string& strProgram, const std::vector<std::string>& vArguments,
                               const std::vector<std::string>& vEnvironment)
{
    int anPipe[2];
    if (pipe2(anPipe, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    fcntl(anPipe[1], F_SETPIPE_SZ, 1);  // as small as the system allows
    m_nOut = anPipe[0];
    try
    {
        m_nProcess = Start(strProgram, vArguments, vEnvironment, anPipe[1], "", (m_folder / "err").string());
    }
    catch (...)
    {
        close(anPipe[0]);
        close(anPipe[1]);
        throw;
    }
    close(anPipe[1]);
}

StartedProgram::~StartedProgram()
{
    if (m_nProcess > 0)
    {
        kill(m_nProcess, SIGKILL);
        waitpid(m_nProcess, nullptr, 0);
    }
    if (m_nOut >= 0) close(m_nOut);
}

std::optional<std::string> StartedProgram::ReadLine()
{
    for (;;)
    {
        const std::size_t uiEnd = m_strOut.find('\n', m_uiRead);
        if (uiEnd != std::string::npos)
        {
            const std::string strLine = m_strOut.substr(m_uiRead, uiEnd - m_uiRead);
            m_uiRead = uiEnd + 1;
            return strLine;
        }
        if (!ReadMore()) return std::nullopt;
    }
}

bool StartedProgram::ReadBytes(std::size_t uiBytes)
{
    while (m_strOut.size() < uiBytes)
        if (!ReadMore()) return false;
    return true;
}

bool StartedProgram::ReadMore()
{
    char achBytes[4096];
    const ssize_t nBytes = read(m_nOut, achBytes, sizeof achBytes);
    if (nBytes <= 0) return false;
    m_strOut.append(achBytes, static_cast<std::size_t>(nBytes));
    return true;
}

bool StartedProgram::HasEnded() const
{
    siginfo_t state = {};
    return waitid(P_PID, static_cast<id_t>(m_nProcess), &state, WEXITED | WNOHANG | WNOWAIT) != 0 || state.si_pid != 0;
}

bool StartedProgram::WaitFor(const std::function<bool()>& hasHappened) const
{
    for (;;)
    {
        const bool bEnded = HasEnded();  // before the other question: it may happen in between
        if (hasHappened()) return true;
        if (bEnded) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

bool StartedProgram::WaitForErr(const std::string& strText) const
{
    return WaitFor([&] { return ReadText((m_folder / "err").string()).find(strText) != std::string::npos; });
}

void StartedProgram::StopReading()
{
    close(std::exchange(m_nOut, -1));
}

void StartedProgram::Signal(int nSignal)
{
    if (m_nProcess > 0) kill(m_nProcess, nSignal);
}

void StartedProgram::SignalUntilItEnds(int nSignal)
{
    while (!HasEnded())
    {
        Signal(nSignal);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

ProgramResult StartedProgram::Wait()
{
    while (ReadMore())
        ;
    ProgramResult result;
    result.m_nStatus = StatusAfterWaiting(std::exchange(m_nProcess, 0));
    result.m_strOut = m_strOut;
    result.m_strErr = ReadText((m_folder / "err").string());
    return result;
}

}  // namespace test_support
