// A place on disk for the files of one test.
#pragma once

#include <filesystem>
#include <set>
#include <string>

#include "support/file_contents.h"

namespace test_support
{

// The system's folder for files in memory, empty where there is none. It is meant for files of gigabytes that are
// mostly holes, of which only the rest takes memory: a disk's file system takes far longer to read a hole.
std::filesystem::path FolderForHoles();

// A new, empty folder in the system's folder for temporary files, or in the one that the prefix begins with. The object
// owns it: its end removes the folder with everything in it. Its name is the prefix and a number of chance.
class TemporaryFolder
{
public:
    explicit TemporaryFolder(const std::filesystem::path& prefix = "imageformat_mp4-test-");
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return m_path / name; }

    // The names of all files and folders in it, UTF-8.
    std::set<std::string> Names() const;

private:
    std::filesystem::path m_path;
};

// One file in a temporary folder. Without contents there is only its path: the test creates the file, or nothing does.
class TemporaryFile
{
public:
    TemporaryFile() = default;
    explicit TemporaryFile(std::string_view contents) { WriteText(m_path, contents); }

    const std::filesystem::path& Path() const { return m_path; }
    std::vector<std::uint8_t> Bytes() const { return ReadBytes(m_path); }

private:
    TemporaryFolder m_folder;
    std::filesystem::path m_path = m_folder / "file.mp4";
};

}  // namespace test_support
