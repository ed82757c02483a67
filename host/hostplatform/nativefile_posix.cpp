// Files by POSIX calls. Paths are bytes here: UTF-8.
//
// Files are never locked. POSIX locks are agreements between programs that ask for them. No other program would follow
// them, and a file that is being written must be open to every reader.
#include "host/hostplatform/nativefile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <string>
#include <string_view>

#include "host/common/utf8.h"

static_assert(sizeof(off_t) == 8, "positions are 64 bits wide");

namespace
{

// Returns the empty path, which opens no file, for wide text that isn't Unicode.
std::string NativePath(const wchar_t* pwszPath)
{
    std::string strPath;
    for (; *pwszPath != L'\0'; ++pwszPath)
    {
        if (!AppendUtf8(strPath, static_cast<char32_t>(*pwszPath))) return {};
    }
    return strPath;
}

bool ToTm(std::time_t nTime, std::tm* pTime)
{
    return pTime == nullptr || gmtime_r(&nTime, pTime) != nullptr;
}

// Not every file system has the time of creation. The oldest other time is then the best answer.
std::time_t CreationTime(int nFile, const struct stat& status)
{
    struct statx extended = {};
    if (statx(nFile, "", AT_EMPTY_PATH, STATX_BTIME, &extended) == 0 && (extended.stx_mask & STATX_BTIME) != 0)
    {
        return static_cast<std::time_t>(extended.stx_btime.tv_sec);
    }
    return std::min(status.st_mtime, status.st_ctime);
}

}  // namespace

bool CNativeFile::Open(const wchar_t* pwszPath, EFileAccess eAccess, bool)
{
    Close();
    // O_NONBLOCK is for pipes, which would wait for their other end before they could be refused. Files ignore it.
    int nFlags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    switch (eAccess)
    {
    case EFileAccess::Read:
        nFlags |= O_RDONLY;
        break;
    case EFileAccess::Create:
        nFlags |= O_RDWR | O_CREAT | O_TRUNC;
        break;
    case EFileAccess::CreateNew:
        nFlags |= O_RDWR | O_CREAT | O_EXCL;
        break;
    }
    const int nFile = open(NativePath(pwszPath).c_str(), nFlags, 0666);
    if (nFile < 0) return false;

    struct stat status = {};
    if (fstat(nFile, &status) != 0 || S_ISDIR(status.st_mode) || S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode))
    {
        close(nFile);
        return false;
    }
    m_nHandle = nFile;
    return true;
}

bool CNativeFile::Close()
{
    if (m_nHandle < 0) return true;
    const int nFile = static_cast<int>(m_nHandle);
    m_nHandle = -1;
    return close(nFile) == 0 || errno == EINTR;  // the descriptor is closed in both cases
}

bool CNativeFile::ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes, std::size_t* puiRead)
{
    std::size_t uiDone = 0;
    while (uiDone < uiBytes)
    {
        const ssize_t nRead =
            pread(static_cast<int>(m_nHandle), static_cast<char*>(pBuffer) + uiDone,
                  std::min<std::size_t>(uiBytes - uiDone, SSIZE_MAX), static_cast<off_t>(uiPosition + uiDone));
        if (nRead < 0 && errno == EINTR) continue;
        if (nRead < 0) return false;
        if (nRead == 0) break;
        uiDone += static_cast<std::size_t>(nRead);
    }
    *puiRead = uiDone;
    return true;
}

bool CNativeFile::WriteAt(std::uint64_t uiPosition, const void* pBuffer, std::size_t uiBytes)
{
    std::size_t uiDone = 0;
    while (uiDone < uiBytes)
    {
        const ssize_t nWritten =
            pwrite(static_cast<int>(m_nHandle), static_cast<const char*>(pBuffer) + uiDone,
                   std::min<std::size_t>(uiBytes - uiDone, SSIZE_MAX), static_cast<off_t>(uiPosition + uiDone));
        if (nWritten < 0 && errno == EINTR) continue;
        if (nWritten <= 0) return false;
        uiDone += static_cast<std::size_t>(nWritten);
    }
    return true;
}

bool CNativeFile::GetSize(std::uint64_t* puiSize)
{
    struct stat status = {};
    if (fstat(static_cast<int>(m_nHandle), &status) != 0) return false;
    *puiSize = static_cast<std::uint64_t>(status.st_size);
    return true;
}

bool CNativeFile::GetTimes(std::tm* pCreated, std::tm* pAccessed, std::tm* pWritten)
{
    const int nFile = static_cast<int>(m_nHandle);
    struct stat status = {};
    return fstat(nFile, &status) == 0 && ToTm(CreationTime(nFile, status), pCreated) &&
           ToTm(status.st_atime, pAccessed) && ToTm(status.st_mtime, pWritten);
}

void CNativeFile::TakeAttributesOf(CNativeFile& original)
{
    struct stat status = {};
    if (fstat(static_cast<int>(original.m_nHandle), &status) != 0) return;
    // Not examined: a file system without one of them still takes the bytes, and a copy is for the bytes.
    [[maybe_unused]] const int nMode = fchmod(static_cast<int>(m_nHandle), status.st_mode & 0777);
    const struct timespec aTimes[2] = {{0, UTIME_OMIT}, status.st_mtim};
    [[maybe_unused]] const int nTimes = futimens(static_cast<int>(m_nHandle), aTimes);
}

ERenameResult RenameNativeFile(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bReplace)
{
    const std::string strFrom = NativePath(pwszFrom);
    const std::string strTo = NativePath(pwszTo);
    int nResult = bReplace ? rename(strFrom.c_str(), strTo.c_str())
                           : renameat2(AT_FDCWD, strFrom.c_str(), AT_FDCWD, strTo.c_str(), RENAME_NOREPLACE);
    if (nResult != 0 && !bReplace && (errno == EINVAL || errno == ENOSYS))
    {
        // A file system that can't refuse by itself. Between the check and the rename another program may create the
        // file.
        if (NativePathExists(pwszTo)) return ERenameResult::Failed;
        nResult = rename(strFrom.c_str(), strTo.c_str());
    }
    if (nResult == 0) return ERenameResult::Done;
    return errno == EXDEV ? ERenameResult::OtherDevice : ERenameResult::Failed;
}

bool RemoveNativeFile(const wchar_t* pwszPath)
{
    return unlink(NativePath(pwszPath).c_str()) == 0;
}

bool NativePathExists(const wchar_t* pwszPath)
{
    struct stat status = {};
    return lstat(NativePath(pwszPath).c_str(), &status) == 0;
}

bool GetNativeFileSize(const wchar_t* pwszPath, std::uint64_t* puiSize)
{
    struct stat status = {};
    if (stat(NativePath(pwszPath).c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
    *puiSize = static_cast<std::uint64_t>(status.st_size);
    return true;
}

std::size_t FindNativeFileName(const wchar_t* pwszPath)
{
    return std::wstring_view(pwszPath).find_last_of(L'/') + 1;  // 0 when there is none
}
