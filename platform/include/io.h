// Files by descriptor, as the C runtime has them. A descriptor is a small number, -1 for none; failures leave their
// reason in errno.
#pragma once

#include "windef.h"

// How a file is opened. One of the first three is the access.
#define _O_RDONLY 0x0000
#define _O_WRONLY 0x0001
#define _O_RDWR 0x0002
#define _O_APPEND 0x0008  // every write goes to the end
#define _O_CREAT 0x0100   // a file that doesn't exist is made
#define _O_TRUNC 0x0200   // an existing one is emptied
#define _O_EXCL 0x0400    // with _O_CREAT: an existing one is a failure, EEXIST
#define _O_BINARY 0x8000  // without it: EINVAL, since line ends aren't translated here

extern "C"
{
    // nShare, of <share.h>, is what others may not do with the file while it is open here, within this process. An
    // open that such a descriptor forbids, or one that forbids what another descriptor may do already, fails with
    // EACCES. After nShare comes the permission with which a new file is made, as an int; the user's mask takes from
    // it.
    WINBASEAPI int _wsopen(const wchar_t* pwszPath, int nFlags, int nShare, ...);
    WINBASEAPI int _close(int nDescriptor);

    // The number of bytes, at most uiBytes, which is at most INT_MAX; 0 at the end of the file, -1 for a failure.
    WINBASEAPI int _read(int nDescriptor, void* pTarget, unsigned uiBytes);
    WINBASEAPI int _write(int nDescriptor, const void* pSource, unsigned uiBytes);

    // The new position, in bytes from the start; nOrigin as for fseek. Positions past the end are allowed.
    WINBASEAPI std::int64_t _lseeki64(int nDescriptor, std::int64_t nOffset, int nOrigin);
    WINBASEAPI std::int64_t _telli64(int nDescriptor);
    WINBASEAPI std::int64_t _filelengthi64(int nDescriptor);
}
