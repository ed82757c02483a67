// Open files.
#include "hostapi/hostplatform.h"

#include <memory>
#include <new>

#include "host/hostplatform/bufferedfile.h"

struct SQmFile
{
    CBufferedFile m_file;
};

namespace
{

// A transfer of no bytes needs no buffer.
bool IsTransfer(QmFileHandle hFile, const void* pBuffer, std::uint64_t uiBytes)
{
    return hFile != nullptr && (pBuffer != nullptr || uiBytes == 0);
}

QmStatus ToStatus(bool bDone)
{
    return bDone ? QM_OK : QM_ERR_FAIL;
}

}  // namespace

QmStatus QM_OpenFile(const wchar_t* pwszPath, int nMode, int nShare, int, QmFileHandle* phFile)
{
    if (phFile == nullptr) return QM_ERR_FAIL;
    *phFile = nullptr;
    if (pwszPath == nullptr || *pwszPath == L'\0') return QM_ERR_FILEOPEN;
    if (nMode != QM_FILE_READ && nMode != QM_FILE_CREATE) return QM_ERR_FILEOPEN;
    try
    {
        auto pFile = std::make_unique<SQmFile>();
        const EFileAccess eAccess = nMode == QM_FILE_READ ? EFileAccess::Read : EFileAccess::Create;
        if (!pFile->m_file.Open(pwszPath, eAccess, nShare == QM_SHARE_READ)) return QM_ERR_FILEOPEN;
        *phFile = pFile.release();
        return QM_OK;
    }
    catch (const std::bad_alloc&)
    {
        return QM_ERR_FILEOPEN;
    }
}

std::uint32_t QM_GetLossCount()
{
    return CBufferedFile::LossCount();
}

QmStatus QM_CloseFile(QmFileHandle hFile)
{
    if (hFile == nullptr) return QM_ERR_FAIL;
    const std::unique_ptr<SQmFile> pFile(hFile);
    return ToStatus(pFile->m_file.Close());
}

QmStatus QM_ReadFile(QmFileHandle hFile, void* pBuffer, std::uint64_t uiBytes, void*, void*)
{
    if (!IsTransfer(hFile, pBuffer, uiBytes)) return QM_ERR_FAIL;
    return uiBytes == 0 ? QM_OK : ToStatus(hFile->m_file.Read(pBuffer, uiBytes));
}

QmStatus QM_WriteFile(QmFileHandle hFile, const void* pBuffer, std::uint64_t uiBytes, void*, void*)
{
    if (!IsTransfer(hFile, pBuffer, uiBytes)) return QM_ERR_FAIL;
    return ToStatus(hFile->m_file.Write(pBuffer, uiBytes));
}

QmStatus QM_SeekFile(QmFileHandle hFile, std::int64_t nOffset, int nOrigin)
{
    if (hFile == nullptr) return QM_ERR_FAIL;
    switch (nOrigin)
    {
    case QM_SEEK_BEGIN:
        return ToStatus(hFile->m_file.SeekFromBegin(nOffset));
    case QM_SEEK_END:
        return ToStatus(hFile->m_file.SeekFromEnd(nOffset));
    default:
        return QM_ERR_FAIL;
    }
}

QmStatus QM_GetFileSize(QmFileHandle hFile, std::uint64_t* puiSize)
{
    if (hFile == nullptr || puiSize == nullptr) return QM_ERR_FAIL;
    return ToStatus(hFile->m_file.GetSize(puiSize));
}

QmStatus QM_GetFileTimes(QmFileHandle hFile, std::tm* pCreated, std::tm* pAccessed, std::tm* pWritten)
{
    if (hFile == nullptr) return QM_ERR_FAIL;
    return ToStatus(hFile->m_file.GetTimes(pCreated, pAccessed, pWritten));
}
