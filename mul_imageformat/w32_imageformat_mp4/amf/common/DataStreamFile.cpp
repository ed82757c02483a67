#include "amf/common/DataStreamFile.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <new>

#include <fcntl.h>
#include <io.h>
#include <share.h>

#include "amf/common/streamcheck.h"

namespace
{

// By access mode.
constexpr int OPEN_FLAGS[] = {
    _O_BINARY | _O_RDONLY,
    _O_BINARY | _O_WRONLY | _O_CREAT | _O_TRUNC,
    _O_BINARY | _O_RDWR | _O_CREAT | _O_TRUNC,
    _O_BINARY | _O_RDWR | _O_CREAT | _O_APPEND,
};
static_assert(OPEN_FLAGS[AMF_STREAM_READ] == 0x8000 && OPEN_FLAGS[AMF_STREAM_WRITE] == 0x8301);
static_assert(OPEN_FLAGS[AMF_STREAM_READ_WRITE] == 0x8302 && OPEN_FLAGS[AMF_STREAM_APPEND] == 0x810A);

// By sharing mode.
constexpr int SHARE_FLAGS[] = {_SH_DENYRW, _SH_DENYWR, _SH_DENYRD, _SH_DENYNO};
static_assert(SHARE_FLAGS[AMF_FILE_SHARE_EXCLUSIVE] == 0x10 && SHARE_FLAGS[AMF_FILE_SHARE_READ] == 0x20);
static_assert(SHARE_FLAGS[AMF_FILE_SHARE_WRITE] == 0x30 && SHARE_FLAGS[AMF_FILE_SHARE_READ_WRITE] == 0x40);

constexpr int PERMISSION = 0666;
static_assert(PERMISSION == 0x1B6);

constexpr amf_size MOST_BYTES_PER_CALL = INT_MAX;

}  // namespace

AMFDataStreamFileImpl::~AMFDataStreamFileImpl()
{
    AMFDataStreamFileImpl::Close();
}

AMF_RESULT AMFDataStreamFileImpl::Open(const wchar_t* pFilePath, AMF_STREAM_OPEN eOpenType, AMF_FILE_SHARE eShareType)
{
    Close();
    AMF_RETURN_UNLESS(FILE_STREAM_SCOPE, pFilePath != NULL, AMF_INVALID_ARG, L"");
    if (eOpenType < AMF_STREAM_READ || eOpenType > AMF_STREAM_APPEND) return AMF_INVALID_ARG;
    if (eShareType < AMF_FILE_SHARE_EXCLUSIVE || eShareType > AMF_FILE_SHARE_READ_WRITE) return AMF_INVALID_ARG;
    try
    {
        m_strPath = pFilePath;
    }
    catch (const std::bad_alloc&)
    {
        return AMF_OUT_OF_MEMORY;
    }
    m_iFileDescriptor = _wsopen(m_strPath.c_str(), OPEN_FLAGS[eOpenType], SHARE_FLAGS[eShareType], PERMISSION);
    return m_iFileDescriptor != -1 ? AMF_OK : AMF_FAIL;
}

AMF_RESULT AMFDataStreamFileImpl::Close()
{
    if (m_iFileDescriptor == -1) return AMF_OK;
    const bool bClosed = _close(m_iFileDescriptor) == 0;
    m_iFileDescriptor = -1;
    return bClosed ? AMF_OK : AMF_FAIL;
}

AMF_RESULT AMFDataStreamFileImpl::Read(void* pData, amf_size iSize, amf_size* pRead)
{
    AMF_RETURN_UNLESS(FILE_STREAM_SCOPE, m_iFileDescriptor != -1, AMF_FILE_NOT_OPEN, L"Read() - File not open");
    AMF_RETURN_UNLESS(FILE_STREAM_SCOPE, pData != NULL, AMF_INVALID_POINTER, L"Read() - pData==NULL");

    amf_size uiRead = 0;
    int nRead = 0;
    do
    {
        const amf_size uiWanted = std::min(iSize - uiRead, MOST_BYTES_PER_CALL);
        nRead = _read(m_iFileDescriptor, static_cast<std::uint8_t*>(pData) + uiRead, static_cast<unsigned>(uiWanted));
        if (nRead < 0) return AMF_FAIL;
        uiRead += static_cast<amf_size>(nRead);
    } while (nRead > 0 && uiRead < iSize);
    if (uiRead == 0 && iSize > 0) return AMF_EOF;
    if (pRead != nullptr) *pRead = uiRead;
    return AMF_OK;
}

AMF_RESULT AMFDataStreamFileImpl::Write(const void* pData, amf_size iSize, amf_size* pWritten)
{
    AMF_RETURN_UNLESS(FILE_STREAM_SCOPE, m_iFileDescriptor != -1, AMF_FILE_NOT_OPEN, L"Write() - File not Open");
    AMF_RETURN_UNLESS(FILE_STREAM_SCOPE, pData != NULL, AMF_INVALID_POINTER, L"Write() - pData==NULL");

    amf_size uiWritten = 0;
    while (uiWritten < iSize)
    {
        const amf_size uiLeft = std::min(iSize - uiWritten, MOST_BYTES_PER_CALL);
        const int nWritten = _write(m_iFileDescriptor, static_cast<const std::uint8_t*>(pData) + uiWritten,
                                    static_cast<unsigned>(uiLeft));
        if (nWritten <= 0) return AMF_FAIL;
        uiWritten += static_cast<amf_size>(nWritten);
    }
    if (pWritten != nullptr) *pWritten = uiWritten;
    return AMF_OK;
}

AMF_RESULT AMFDataStreamFileImpl::Seek(AMF_SEEK_ORIGIN eOrigin, amf_int64 iOffset, amf_int64* pNewPosition)
{
    static_assert(AMF_SEEK_BEGIN == SEEK_SET && AMF_SEEK_CURRENT == SEEK_CUR && AMF_SEEK_END == SEEK_END);
    AMF_RETURN_UNLESS(FILE_STREAM_SCOPE, m_iFileDescriptor != -1, AMF_FILE_NOT_OPEN, L"Seek() - File not Open");
    if (eOrigin < AMF_SEEK_BEGIN || eOrigin > AMF_SEEK_END) return AMF_FAIL;

    const amf_int64 nPosition = _lseeki64(m_iFileDescriptor, iOffset, eOrigin);
    if (nPosition == -1) return AMF_FAIL;
    if (pNewPosition != nullptr) *pNewPosition = nPosition;
    return AMF_OK;
}

AMF_RESULT AMFDataStreamFileImpl::GetPosition(amf_int64* pPosition)
{
    AMF_RETURN_UNLESS(FILE_STREAM_SCOPE, pPosition != NULL, AMF_INVALID_POINTER, L"");
    AMF_RETURN_UNLESS(FILE_STREAM_SCOPE, m_iFileDescriptor != -1, AMF_FILE_NOT_OPEN, L"GetPosition() - File not Open");
    *pPosition = _telli64(m_iFileDescriptor);
    return *pPosition != -1 ? AMF_OK : AMF_FAIL;
}

AMF_RESULT AMFDataStreamFileImpl::GetSize(amf_int64* pSize)
{
    AMF_RETURN_UNLESS(FILE_STREAM_SCOPE, pSize != NULL, AMF_INVALID_POINTER, L"");
    AMF_RETURN_UNLESS(FILE_STREAM_SCOPE, m_iFileDescriptor != -1, AMF_FILE_NOT_OPEN, L"GetSize() - File not open");
    *pSize = _filelengthi64(m_iFileDescriptor);
    return *pSize != -1 ? AMF_OK : AMF_FAIL;
}

bool AMFDataStreamFileImpl::IsSeekable()
{
    return true;
}
