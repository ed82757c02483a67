#include "system.h"

#include <csignal>
#include <stdexcept>

#include <dlfcn.h>
#include <unistd.h>

#include "parts/text.h"

namespace qmhost
{

std::vector<std::string> CommandLineArguments(int argc, char** argv)
{
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

std::filesystem::path ProgramFolder()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

std::filesystem::path ModuleFileName()
{
    return "imageformat_mp4.so";
}

bool IsTerminalOnStderr()
{
    return isatty(STDERR_FILENO) == 1;
}

std::FILE* BinaryInput()
{
    return stdin;
}

void PrepareProcess()
{
    std::signal(SIGXFSZ, SIG_IGN);
}

Library::Library(const std::filesystem::path& path)
    // An absolute path, since a bare name would be searched for among the system's libraries. The code stays mapped to
    // the end of the process, when memory checkers look up who allocated what was never given back.
    : m_hLibrary(dlopen(std::filesystem::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE))
{
    if (m_hLibrary) return;
    const char* const pszReason = dlerror();
    std::string strReason = pszReason ? pszReason : "no reason given";
    const std::string strAgain = std::filesystem::absolute(path).string() + ": ";
    if (strReason.starts_with(strAgain)) strReason.erase(0, strAgain.size());
    throw std::runtime_error(Quoted(Utf8FromPath(path)) + " doesn't load: " + strReason);
}

Library::~Library()
{
    if (m_hLibrary) dlclose(m_hLibrary);
}

Library::Library(Library&& other) noexcept : m_hLibrary(other.m_hLibrary)
{
    other.m_hLibrary = nullptr;
}

void* Library::Find(const char* pszName) const
{
    return dlsym(m_hLibrary, pszName);
}

}  // namespace qmhost
