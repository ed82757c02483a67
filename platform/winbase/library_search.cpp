#include "platform/winbase/library_search.h"

#include <dlfcn.h>
#include <filesystem>
#include <string_view>
#include <strings.h>
#include <system_error>

#include "platform/winbase/environment.h"

namespace winbase
{
namespace
{

constexpr std::string_view c_dll = ".dll";
constexpr std::string_view c_so = ".so";

bool EndsWith(const std::string& name, std::string_view ending)
{
    return name.size() >= ending.size() &&
           strncasecmp(name.c_str() + name.size() - ending.size(), ending.data(), ending.size()) == 0;
}

std::string WithoutDll(const std::string& name)
{
    return EndsWith(name, c_dll) ? name.substr(0, name.size() - c_dll.size()) : name;
}

std::string WithSo(const std::string& name)
{
    return EndsWith(name, c_so) ? name : WithoutDll(name) + std::string(c_so);
}

// The directory that this library was loaded from; "" if the system doesn't say.
std::string OwnDirectory()
{
    Dl_info info{};
    if (!dladdr(reinterpret_cast<const void*>(&OwnDirectory), &info) || !info.dli_fname)
    {
        return {};
    }
    std::error_code error;
    const std::string path = std::filesystem::absolute(info.dli_fname, error).string();
    return error ? std::string() : path.substr(0, path.rfind('/'));
}

// Asked for while the library is loaded: the system may know it by a path from the folder that is the current one then.
// It stays to the end of the process, for destructors that load libraries.
const std::string& g_ownDirectory = *new std::string(OwnDirectory());

std::vector<std::string> SearchDirectories()
{
    // Nothing is found, as on a machine without any runtime, when the variable is set to nothing. The same holds for a
    // relative path: it would name a directory in whatever folder is the current one.
    if (const auto directory = EnvironmentVariable("IMAGEFORMAT_MP4_RUNTIMES"))
    {
        return directory->starts_with('/') ? std::vector<std::string>{*directory} : std::vector<std::string>{};
    }
    if (g_ownDirectory.empty())
    {
        return {};
    }
    return {g_ownDirectory, g_ownDirectory + "/runtimes"};
}

}  // namespace

std::vector<std::string> LibraryCandidates(const std::string& name)
{
    if (name.find_first_of("/\\") != std::string::npos)
    {
        std::string path = name;
        for (char& c : path)
        {
            c = c == '\\' ? '/' : c;
        }
        std::vector<std::string> candidates = {path};
        if (EndsWith(path, c_dll))
        {
            candidates.push_back(WithSo(path));
        }
        return candidates;
    }

    std::vector<std::string> candidates;
    for (const std::string& directory : SearchDirectories())
    {
        candidates.push_back(directory + "/" + WithSo(name));
        candidates.push_back(directory + "/lib" + WithSo(name));
    }
    return candidates;
}

bool IsSameLibraryName(const std::string& left, const std::string& right)
{
    const auto stem = [](const std::string& name) {
        return WithoutDll(name.substr(name.find_last_of("/\\") + 1));  // npos + 1 is 0
    };
    return strcasecmp(stem(left).c_str(), stem(right).c_str()) == 0;
}

}  // namespace winbase
