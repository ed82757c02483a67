#include "parts/targetfile.h"

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "parts/filetime.h"
#include "parts/text.h"

namespace qmhost
{
namespace
{

namespace fs = std::filesystem;

// Less than this is free on a disk that is full: a system may keep a block or two to itself.
constexpr std::uintmax_t NEXT_TO_NOTHING = 64 * 1024;

[[noreturn]] void Refuse(const fs::path& path, const std::error_code& error)
{
    throw std::runtime_error(Quoted(Utf8FromPath(path)) + " can't be written: " + error.message());
}

}  // namespace

TargetFile::TargetFile(fs::path path) : m_path(std::move(path))
{
    std::error_code error;
    const fs::file_status status = fs::status(m_path, error);
    if (fs::is_directory(status)) Refuse(m_path, std::make_error_code(std::errc::is_a_directory));
    if (!fs::exists(status))
    {
        const fs::path folder = m_path.has_parent_path() ? m_path.parent_path() : fs::path(".");
        if (!fs::is_directory(folder, error))
            throw std::runtime_error("there is no folder " + Quoted(Utf8FromPath(folder)) + " to write to");
        return;
    }
    m_before = Look(m_path);
    errno = 0;
    if (!std::fstream(m_path, std::ios::binary | std::ios::in | std::ios::out))  // neither makes nor empties it
        Refuse(m_path, std::error_code(errno != 0 ? errno : EIO, std::generic_category()));
}

bool TargetFile::Exists() const
{
    std::error_code ignored;
    return fs::exists(m_path, ignored);
}

std::string TargetFile::AfterFailure() const
{
    const Traces now = Look(m_path);
    if (!now.m_bThere) return "no file was made";
    return now == m_before ? "the file that was there is as before" : "the file is left as it is, incomplete";
}

std::string TargetFile::DiskState() const
{
    std::error_code error;
    const fs::path folder = m_path.has_parent_path() ? m_path.parent_path() : fs::path(".");
    const fs::space_info space = fs::space(folder, error);
    return !error && space.available < NEXT_TO_NOTHING ? ", and its disk is full" : "";
}

TargetFile::Traces TargetFile::Look(const fs::path& path)
{
    std::error_code ignored;
    Traces traces;
    traces.m_bThere = fs::exists(path, ignored);
    if (!traces.m_bThere) return traces;
    traces.m_uiSize = fs::file_size(path, ignored);
    traces.m_nTimeWritten = LastWriteTime(path);
    return traces;
}

}  // namespace qmhost
