// What this program asks of the operating system beyond the standard library. One implementation per system.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace qmhost
{

// The command line without the program's name, in UTF-8 whatever the locale, and whatever main was given.
std::vector<std::string> CommandLineArguments(int argc, char** argv);

// The folder in which this program lies.
std::filesystem::path ProgramFolder();

// "imageformat_mp4.so" or "imageformat_mp4.dll".
std::filesystem::path ModuleFileName();

// Whether standard error is a terminal.
bool IsTerminalOnStderr();

// Standard input, as bytes that nothing changes.
std::FILE* BinaryInput();

// Makes the standard streams take UTF-8 text and, for output, bytes as they are. Writing past a limit of file sizes
// fails, as on a full disk, and doesn't end the process.
void PrepareProcess();

// A shared library, loaded for as long as the object lives.
class Library
{
public:
    // Libraries that it needs are looked for beside it too. Throws std::runtime_error with the path and the system's
    // reason.
    explicit Library(const std::filesystem::path& path);
    ~Library();
    Library(Library&& other) noexcept;
    Library& operator=(Library&&) = delete;

    // Null for a name that isn't exported.
    void* Find(const char* pszName) const;

private:
    void* m_hLibrary;
};

}  // namespace qmhost
