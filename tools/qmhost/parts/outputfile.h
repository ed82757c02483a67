// Files that are there whole or not at all.
#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <span>
#include <string_view>

namespace qmhost
{

// A file being written. Its bytes go to a temporary neighbour that takes the file's name at Commit; until then a file
// of that name stays as it was, and without a Commit nothing is left. What can't be replaced, such as a device or a
// pipe, is written directly.
//
// Everything throws std::runtime_error with the path and the system's reason.
class OutputFile
{
public:
    explicit OutputFile(std::filesystem::path path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void Write(std::span<const unsigned char> bytes);
    // Writes zeros. In a file that can have holes they become one, if something else is written after them.
    void WriteZeros(std::size_t uiBytes);
    // Gives the file its name. It has the permissions of the one that it replaces.
    void Commit();
    // The same when its bytes are on the disk: for the only good copy of something.
    void CommitToDisk();

private:
    void Close();

    std::filesystem::path m_path;
    std::filesystem::path m_pathTemporary;  // empty when m_path is written directly
    std::ofstream m_file;
};

void WriteWholeFile(const std::filesystem::path& path, std::span<const unsigned char> bytes);
void WriteWholeFile(const std::filesystem::path& path, std::string_view text);

}  // namespace qmhost
