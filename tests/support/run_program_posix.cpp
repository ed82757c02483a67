#include "support/run_program.h"

#include <stdexcept>

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

}  // namespace

ProgramResult RunProgram(const std::string& strProgram, const std::vector<std::string>& vArguments,
                         const std::vector<std::string>& vEnvironment, const std::string& strOutPath)
{
    const TemporaryFolder folder;
    const std::string strOut = strOutPath.empty() ? (folder / "out").string() : strOutPath;
    const std::string strErr = (folder / "err").string();

    std::vector<std::string> vAll = {strProgram};
    vAll.insert(vAll.end(), vArguments.begin(), vArguments.end());
    std::vector<std::string> vVariables = vEnvironment;  // the first of a name counts
    for (char** pp = environ; *pp; ++pp)
        vVariables.emplace_back(*pp);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, strOut.c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, strErr.c_str(), O_WRONLY | O_CREAT, 0600);
    pid_t nProcess = 0;
    const int nError = posix_spawnp(&nProcess, strProgram.c_str(), &actions, nullptr, Pointers(vAll).data(),
                                    Pointers(vVariables).data());
    posix_spawn_file_actions_destroy(&actions);
    if (nError != 0) throw std::runtime_error(strProgram + " can't be started");

    int nWait = 0;
    if (waitpid(nProcess, &nWait, 0) != nProcess) throw std::runtime_error("waitpid failed");
    ProgramResult result;
    result.m_nStatus = WIFEXITED(nWait) ? WEXITSTATUS(nWait) : 128 + WTERMSIG(nWait);
    if (strOutPath.empty()) result.m_strOut = ReadText(strOut);
    result.m_strErr = ReadText(strErr);
    return result;
}

}  // namespace test_support
