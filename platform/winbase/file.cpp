#include "io.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <map>
#include <mutex>
#include <new>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/winbase/text.h"
#include "share.h"

namespace winbase
{
namespace
{

// What a descriptor does with its file, and what it keeps others from: sets of READ and WRITE.
enum : unsigned
{
    READ = 1,
    WRITE = 2
};
struct Use
{
    dev_t device;
    ino_t file;
    unsigned uiAccess;
    unsigned uiDenied;
};

struct Uses
{
    std::mutex mutex;
    std::map<int, Use> byDescriptor;
};

// The system doesn't know that one open forbids another, so this is known within the process only.
Uses& AllUses()
{
    static Uses& s_uses = *new Uses;
    return s_uses;
}

constexpr int c_nKnownFlags = _O_WRONLY | _O_RDWR | _O_APPEND | _O_CREAT | _O_TRUNC | _O_EXCL | _O_BINARY;

unsigned AccessOf(int nFlags)
{
    switch (nFlags & (_O_WRONLY | _O_RDWR))
    {
    case _O_RDONLY:
        return READ;
    case _O_WRONLY:
        return WRITE;
    case _O_RDWR:
        return READ | WRITE;
    default:
        return 0;
    }
}

bool FindDenied(int nShare, unsigned* puiDenied)
{
    switch (nShare)
    {
    case _SH_DENYRW:
        *puiDenied = READ | WRITE;
        return true;
    case _SH_DENYWR:
        *puiDenied = WRITE;
        return true;
    case _SH_DENYRD:
        *puiDenied = READ;
        return true;
    case _SH_DENYNO:
        *puiDenied = 0;
        return true;
    default:
        return false;
    }
}

int Fail(int nReason)
{
    errno = nReason;
    return -1;
}

// Without _O_TRUNC: the file is emptied only after its other users have been asked.
int SystemFlags(int nFlags, unsigned uiAccess)
{
    int nSystem = O_CLOEXEC | (uiAccess == READ ? O_RDONLY : uiAccess == WRITE ? O_WRONLY : O_RDWR);
    if (nFlags & _O_APPEND) nSystem |= O_APPEND;
    if (nFlags & _O_CREAT) nSystem |= O_CREAT;
    if (nFlags & _O_EXCL) nSystem |= O_EXCL;
    return nSystem;
}

// Whether the opened file may be used so; registers the use then.
bool Admit(Uses& uses, int nDescriptor, unsigned uiAccess, unsigned uiDenied)
{
    struct stat status = {};
    if (fstat(nDescriptor, &status) != 0) return false;
    bool bAllowed = !S_ISDIR(status.st_mode);
    for (const auto& [nOther, other] : uses.byDescriptor)
    {
        const bool bSame = other.device == status.st_dev && other.file == status.st_ino;
        bAllowed = bAllowed && !(bSame && ((other.uiDenied & uiAccess) || (other.uiAccess & uiDenied)));
    }
    if (!bAllowed)
    {
        errno = EACCES;
        return false;
    }
    uses.byDescriptor[nDescriptor] = {status.st_dev, status.st_ino, uiAccess, uiDenied};
    return true;
}

int Open(const wchar_t* pwszPath, int nFlags, unsigned uiDenied, int nPermission)
{
    const unsigned uiAccess = AccessOf(nFlags);
    const std::string strPath = Utf8FromWide(pwszPath, nullptr);
    Uses& uses = AllUses();
    const std::lock_guard lock(uses.mutex);
    const int nDescriptor = open(strPath.c_str(), SystemFlags(nFlags, uiAccess), static_cast<mode_t>(nPermission));
    // A directory can't be written, and isn't there to be read either.
    if (nDescriptor < 0) return Fail(errno == EISDIR ? EACCES : errno);
    const bool bAdmitted = Admit(uses, nDescriptor, uiAccess, uiDenied);
    if (bAdmitted && (!(nFlags & _O_TRUNC) || ftruncate(nDescriptor, 0) == 0)) return nDescriptor;
    const int nReason = errno;
    if (bAdmitted) uses.byDescriptor.erase(nDescriptor);
    close(nDescriptor);
    return Fail(nReason);
}

}  // namespace
}  // namespace winbase

using namespace winbase;

int _wsopen(const wchar_t* pwszPath, int nFlags, int nShare, ...)
{
    int nPermission = 0;
    if (nFlags & _O_CREAT)
    {
        va_list arguments;
        va_start(arguments, nShare);
        nPermission = va_arg(arguments, int);
        va_end(arguments);
    }
    unsigned uiDenied = 0;
    if (!pwszPath || (nFlags & ~c_nKnownFlags) || !(nFlags & _O_BINARY) || AccessOf(nFlags) == 0 ||
        !FindDenied(nShare, &uiDenied))
    {
        return Fail(EINVAL);
    }
    try
    {
        return Open(pwszPath, nFlags, uiDenied, nPermission);
    }
    catch (const std::bad_alloc&)
    {
        return Fail(ENOMEM);
    }
}

int _close(int nDescriptor)
{
    // The number may be given again as soon as it is closed.
    Uses& uses = AllUses();
    const std::lock_guard lock(uses.mutex);
    uses.byDescriptor.erase(nDescriptor);
    return close(nDescriptor);
}

int _read(int nDescriptor, void* pTarget, unsigned uiBytes)
{
    if (uiBytes > INT_MAX || (!pTarget && uiBytes != 0)) return Fail(EINVAL);
    ssize_t nRead = 0;
    do
    {
        nRead = read(nDescriptor, pTarget, uiBytes);
    } while (nRead < 0 && errno == EINTR);
    return static_cast<int>(nRead);
}

int _write(int nDescriptor, const void* pSource, unsigned uiBytes)
{
    if (uiBytes > INT_MAX || (!pSource && uiBytes != 0)) return Fail(EINVAL);
    ssize_t nWritten = 0;
    do
    {
        nWritten = write(nDescriptor, pSource, uiBytes);
    } while (nWritten < 0 && errno == EINTR);
    return static_cast<int>(nWritten);
}

std::int64_t _lseeki64(int nDescriptor, std::int64_t nOffset, int nOrigin)
{
    return lseek(nDescriptor, nOffset, nOrigin);
}

std::int64_t _telli64(int nDescriptor)
{
    return lseek(nDescriptor, 0, SEEK_CUR);
}

std::int64_t _filelengthi64(int nDescriptor)
{
    struct stat status = {};
    return fstat(nDescriptor, &status) == 0 ? static_cast<std::int64_t>(status.st_size) : -1;
}
