#include "parts/outputfile.h"

#include <cerrno>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "parts/diskflush.h"
#include "parts/text.h"

namespace qmhost
{
namespace
{

namespace fs = std::filesystem;

[[noreturn]] void Refuse(const fs::path& path, const std::error_code& error)
{
    throw std::runtime_error(Quoted(Utf8FromPath(path)) + " can't be written: " + error.message());
}

[[noreturn]] void RefuseForErrno(const fs::path& path)
{
    Refuse(path, std::error_code(errno != 0 ? errno : EIO, std::generic_category()));
}

// A name that no other run of the program is likely to use at the same time.
fs::path TemporaryNeighbour(const fs::path& path)
{
    std::random_device device;
    fs::path neighbour = path;
    neighbour += '.';
    neighbour += std::to_string(device());
    neighbour += ".part";
    return neighbour;
}

}  // namespace

OutputFile::OutputFile(fs::path path) : m_path(std::move(path))
{
    std::error_code error;
    const fs::file_status status = fs::status(m_path, error);
    if (fs::is_directory(status)) Refuse(m_path, std::make_error_code(std::errc::is_a_directory));
    if (fs::is_regular_file(status))
    {
        // A link keeps its name and leads to the new contents.
        const fs::path target = fs::canonical(m_path, error);
        if (!error) m_path = target;
    }
    const bool bDirect = fs::exists(status) && !fs::is_regular_file(status);
    if (!bDirect) m_pathTemporary = TemporaryNeighbour(m_path);

    errno = 0;
    m_file.open(bDirect ? m_path : m_pathTemporary, std::ios::binary | std::ios::trunc);
    if (!m_file)
    {
        m_pathTemporary.clear();
        RefuseForErrno(m_path);
    }
}

OutputFile::~OutputFile()
{
    if (m_pathTemporary.empty()) return;
    m_file.close();
    std::error_code ignored;
    fs::remove(m_pathTemporary, ignored);
}

void OutputFile::Write(std::span<const unsigned char> bytes)
{
    errno = 0;
    m_file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!m_file) RefuseForErrno(m_path);
}

void OutputFile::WriteZeros(std::size_t uiBytes)
{
    if (m_pathTemporary.empty()) return Write(std::vector<unsigned char>(uiBytes));
    errno = 0;
    m_file.seekp(static_cast<std::streamoff>(uiBytes), std::ios::cur);
    if (!m_file) RefuseForErrno(m_path);
}

void OutputFile::Close()
{
    errno = 0;
    m_file.close();
    if (!m_file) RefuseForErrno(m_path);
}

void OutputFile::Commit()
{
    if (m_file.is_open()) Close();
    if (m_pathTemporary.empty()) return;
    std::error_code error;
    const fs::file_status old = fs::status(m_path, error);
    if (fs::is_regular_file(old)) fs::permissions(m_pathTemporary, old.permissions(), error);
    fs::rename(m_pathTemporary, m_path, error);
    if (error) Refuse(m_path, error);
    m_pathTemporary.clear();
}

void OutputFile::CommitToDisk()
{
    Close();
    if (!m_pathTemporary.empty()) FlushToDisk(m_pathTemporary);
    Commit();
}

void WriteWholeFile(const fs::path& path, std::span<const unsigned char> bytes)
{
    OutputFile file(path);
    file.Write(bytes);
    file.Commit();
}

void WriteWholeFile(const fs::path& path, std::string_view text)
{
    WriteWholeFile(path, std::span(reinterpret_cast<const unsigned char*>(text.data()), text.size()));
}

}  // namespace qmhost
