// MFCreateFile, and the byte stream of a file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <mutex>
#include <string>

#include "mfapi.h"
#include "mferror.h"
#include "platform/com/com_object.h"
#include "platform/com/com_ptr.h"
#include "platform/mediafoundation/file_path.h"
#include "platform/mediafoundation/startup.h"
#include "platform/mediafoundation/without_exceptions.h"
#include "platform/mediafoundation/writing/script.h"

namespace mediafoundation
{
namespace
{

HRESULT StatusOf(int nError)
{
    switch (nError)
    {
    case ENOENT:
        return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    case ENOTDIR:
    case ENAMETOOLONG:
        return HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);
    case EEXIST:
        return HRESULT_FROM_WIN32(ERROR_FILE_EXISTS);
    case EACCES:
    case EPERM:
    case EISDIR:
    case ETXTBSY:
        return E_ACCESSDENIED;
    case EROFS:
        return HRESULT_FROM_WIN32(ERROR_WRITE_PROTECT);
    case EMFILE:
    case ENFILE:
        return HRESULT_FROM_WIN32(ERROR_TOO_MANY_OPEN_FILES);
    case ENOSPC:
    case EDQUOT:
        return HRESULT_FROM_WIN32(ERROR_DISK_FULL);
    case EFBIG:
        return HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE);
    case ENOMEM:
        return E_OUTOFMEMORY;
    case EINVAL:
        return E_INVALIDARG;
    default:
        return HRESULT_FROM_WIN32(ERROR_GEN_FAILURE);
    }
}

constexpr QWORD LARGEST = std::numeric_limits<off_t>::max();

class FileStream final : public platform::ComObject<platform::Implements<IMFByteStream>>
{
public:
    // Owns the descriptor.
    FileStream(int nFile, DWORD dwCapabilities, QWORD qwPosition)
        : m_nFile(nFile), m_dwCapabilities(dwCapabilities), m_qwPosition(qwPosition)
    {}
    ~FileStream() override { (void)Close(); }

    HRESULT STDMETHODCALLTYPE GetCapabilities(DWORD* pdwCapabilities) override
    {
        if (pdwCapabilities == nullptr) return E_POINTER;
        *pdwCapabilities = m_dwCapabilities;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetLength(QWORD* pqwLength) override
    {
        if (pqwLength == nullptr) return E_POINTER;
        const std::lock_guard lock(m_lock);
        return Length(pqwLength);
    }
    HRESULT STDMETHODCALLTYPE SetLength(QWORD qwLength) override
    {
        const std::lock_guard lock(m_lock);
        if (qwLength > LARGEST) return E_INVALIDARG;
        return ftruncate(m_nFile, static_cast<off_t>(qwLength)) == 0 ? S_OK : StatusOf(errno);
    }

    HRESULT STDMETHODCALLTYPE GetCurrentPosition(QWORD* pqwPosition) override
    {
        if (pqwPosition == nullptr) return E_POINTER;
        const std::lock_guard lock(m_lock);
        *pqwPosition = m_qwPosition;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetCurrentPosition(QWORD qwPosition) override
    {
        const std::lock_guard lock(m_lock);
        if (qwPosition > LARGEST) return E_INVALIDARG;
        m_qwPosition = qwPosition;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Seek(MFBYTESTREAM_SEEK_ORIGIN SeekOrigin, LONGLONG llSeekOffset, DWORD,
                                   QWORD* pqwCurrentPosition) override
    {
        const std::lock_guard lock(m_lock);
        const QWORD qwFrom = SeekOrigin == msoCurrent ? m_qwPosition : 0;
        const QWORD qwTo = qwFrom + static_cast<QWORD>(llSeekOffset);
        if (qwTo > LARGEST) return E_INVALIDARG;
        m_qwPosition = qwTo;
        if (pqwCurrentPosition != nullptr) *pqwCurrentPosition = qwTo;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE IsEndOfStream(BOOL* pfEndOfStream) override
    {
        if (pfEndOfStream == nullptr) return E_POINTER;
        const std::lock_guard lock(m_lock);
        QWORD qwLength = 0;
        const HRESULT hr = Length(&qwLength);
        if (SUCCEEDED(hr)) *pfEndOfStream = m_qwPosition >= qwLength ? TRUE : FALSE;
        return hr;
    }

    HRESULT STDMETHODCALLTYPE Read(BYTE* pb, ULONG cb, ULONG* pcbRead) override
    {
        if (pb == nullptr || pcbRead == nullptr) return E_POINTER;
        const std::lock_guard lock(m_lock);
        return Transfer(cb, pcbRead,
                        [&](ULONG cbDone, off_t nAt) { return pread(m_nFile, pb + cbDone, cb - cbDone, nAt); });
    }
    // Everything, or a failure after as much as fitted.
    HRESULT STDMETHODCALLTYPE Write(const BYTE* pb, ULONG cb, ULONG* pcbWritten) override
    {
        if (pb == nullptr || pcbWritten == nullptr) return E_POINTER;
        const std::lock_guard lock(m_lock);
        return Transfer(cb, pcbWritten,
                        [&](ULONG cbDone, off_t nAt) { return pwrite(m_nFile, pb + cbDone, cb - cbDone, nAt); });
    }

    // Reading and writing are done while the caller waits.
    HRESULT STDMETHODCALLTYPE BeginRead(BYTE*, ULONG, IMFAsyncCallback*, IUnknown*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EndRead(IMFAsyncResult*, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE BeginWrite(const BYTE*, ULONG, IMFAsyncCallback*, IUnknown*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE EndWrite(IMFAsyncResult*, ULONG*) override { return E_NOTIMPL; }

    // Nothing is kept back.
    HRESULT STDMETHODCALLTYPE Flush() override { return S_OK; }

    HRESULT STDMETHODCALLTYPE Close() override
    {
        const std::lock_guard lock(m_lock);
        if (m_nFile < 0) return S_OK;
        const int nResult = close(m_nFile);
        m_nFile = -1;
        return nResult == 0 ? S_OK : StatusOf(errno);
    }

private:
    HRESULT Length(QWORD* pqwLength)
    {
        struct stat status = {};
        if (fstat(m_nFile, &status) != 0) return StatusOf(errno);
        *pqwLength = static_cast<QWORD>(status.st_size);
        return S_OK;
    }

    // some(cbDone, nAt) does a part. It returns how much, 0 at the end of the file, or a negative value.
    template <typename Some>
    HRESULT Transfer(ULONG cb, ULONG* pcbDone, Some some)
    {
        *pcbDone = 0;
        while (*pcbDone < cb)
        {
            const ssize_t nPart = some(*pcbDone, static_cast<off_t>(m_qwPosition));
            if (nPart < 0 && errno == EINTR) continue;
            if (nPart < 0) return StatusOf(errno);
            if (nPart == 0) break;
            *pcbDone += static_cast<ULONG>(nPart);
            m_qwPosition += static_cast<QWORD>(nPart);
        }
        return S_OK;
    }

    std::mutex m_lock;
    int m_nFile;
    const DWORD m_dwCapabilities;
    QWORD m_qwPosition;
};

struct AccessOf
{
    int m_nFlags = 0;
    DWORD m_dwCapabilities = MFBYTESTREAM_IS_SEEKABLE;
};

bool FindAccess(MF_FILE_ACCESSMODE eMode, AccessOf* pAccess)
{
    switch (eMode)
    {
    case MF_ACCESSMODE_READ:
        pAccess->m_nFlags = O_RDONLY;
        pAccess->m_dwCapabilities |= MFBYTESTREAM_IS_READABLE;
        return true;
    case MF_ACCESSMODE_WRITE:
        pAccess->m_nFlags = O_WRONLY;
        pAccess->m_dwCapabilities |= MFBYTESTREAM_IS_WRITABLE;
        return true;
    case MF_ACCESSMODE_READWRITE:
        pAccess->m_nFlags = O_RDWR;
        pAccess->m_dwCapabilities |= MFBYTESTREAM_IS_READABLE | MFBYTESTREAM_IS_WRITABLE;
        return true;
    }
    return false;
}

bool FindCreation(MF_FILE_OPENMODE eMode, int* pnFlags)
{
    switch (eMode)
    {
    case MF_OPENMODE_FAIL_IF_NOT_EXIST:
        *pnFlags = 0;
        return true;
    case MF_OPENMODE_FAIL_IF_EXIST:
        *pnFlags = O_CREAT | O_EXCL;
        return true;
    case MF_OPENMODE_RESET_IF_EXIST:
    case MF_OPENMODE_DELETE_IF_EXIST:
        // The old content goes; the name stays, which may be a link or a device.
        *pnFlags = O_CREAT | O_TRUNC;
        return true;
    case MF_OPENMODE_APPEND_IF_EXIST:
        *pnFlags = O_CREAT;
        return true;
    }
    return false;
}

HRESULT OpenFile(MF_FILE_ACCESSMODE eAccess, MF_FILE_OPENMODE eOpen, LPCWSTR pwszPath, IMFByteStream** ppStream)
{
    AccessOf access;
    int nCreation = 0;
    if (!FindAccess(eAccess, &access) || !FindCreation(eOpen, &nCreation)) return E_INVALIDARG;
    if ((nCreation & O_TRUNC) != 0 && eAccess == MF_ACCESSMODE_READ) return E_INVALIDARG;
    std::string path;
    if (!Utf8Path(pwszPath, &path)) return HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);

    constexpr mode_t MODE = 0666;  // less what the process's mask takes away
    const int nFile = open(path.c_str(), access.m_nFlags | nCreation | O_CLOEXEC, MODE);
    if (nFile < 0) return StatusOf(errno);
    struct stat status = {};
    const bool bAppend = eOpen == MF_OPENMODE_APPEND_IF_EXIST && fstat(nFile, &status) == 0;
    const QWORD qwPosition = bAppend ? static_cast<QWORD>(status.st_size) : 0;
    try
    {
        *ppStream = new FileStream(nFile, access.m_dwCapabilities, qwPosition);
    }
    catch (...)
    {
        close(nFile);
        throw;
    }
    return S_OK;
}

}  // namespace
}  // namespace mediafoundation

STDAPI MFCreateFile(MF_FILE_ACCESSMODE AccessMode, MF_FILE_OPENMODE OpenMode, MF_FILE_FLAGS, LPCWSTR pwszFileURL,
                    IMFByteStream** ppIByteStream)
{
    if (pwszFileURL == nullptr || ppIByteStream == nullptr) return E_POINTER;
    *ppIByteStream = nullptr;
    HRESULT hr = mediafoundation::RequireStartup();
    if (SUCCEEDED(hr)) hr = mediafoundation::ScriptedResult(MediaWriteCall::CreateFile);
    if (FAILED(hr)) return hr;
    return mediafoundation::WithoutExceptions(
        [&] { return mediafoundation::OpenFile(AccessMode, OpenMode, pwszFileURL, ppIByteStream); });
}
