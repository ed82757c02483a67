#include "mp4_outputfile/muxer/targetfile.h"

#include "common/bigendian.h"

void CTargetFile::Open(const CQmStringW& strPath)
{
    QM_OpenFile(strPath, QM_FILE_CREATE, QM_SHARE_NONE, -1, &m_hFile);
}

void CTargetFile::Close()
{
    if (m_hFile != nullptr) QM_CloseFile(m_hFile);
    m_hFile = nullptr;
}

bool CTargetFile::Keep(QmStatus nStatus)
{
    m_bFailed = nStatus != QM_OK;
    return !m_bFailed;
}

bool CTargetFile::Write(const void* pBytes, std::size_t uiSize)
{
    return IsOpen() && !m_bFailed && Keep(QM_WriteFile(m_hFile, pBytes, uiSize, nullptr, nullptr));
}

bool CTargetFile::Write32(std::uint32_t uiValue)
{
    const std::uint32_t uiBigEndian = ToBigEndian32(uiValue);
    return Write(&uiBigEndian, sizeof uiBigEndian);
}

bool CTargetFile::Seek(std::uint64_t uiOffset)
{
    return IsOpen() && !m_bFailed && Keep(QM_SeekFile(m_hFile, static_cast<std::int64_t>(uiOffset), QM_SEEK_BEGIN));
}

bool CTargetFile::SeekToEnd()
{
    return IsOpen() && !m_bFailed && Keep(QM_SeekFile(m_hFile, 0, QM_SEEK_END));
}
