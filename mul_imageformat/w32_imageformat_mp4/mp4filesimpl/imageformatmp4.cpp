#include "mp4filesimpl/imageformatmp4.h"

#include <cstring>

#include "common/modulestate.h"
#include "common/withoutexceptions.h"
#include "mp4_outputfile/mp4outputfile.h"
#include "mp4filesimpl/classsection.h"
#include "mp4filesimpl/formattables.h"
#include "mp4filesimpl/mp4inputfile.h"

namespace
{

constexpr std::uint32_t NONE = 0xFFFFFFFF;

// The source path that translations and diagnostics of this folder are given.
constexpr char SOURCE_PATH[] = "mul_imageformat/w32_imageformat_mp4/mp4filesimpl";
constexpr int LINE_ACTIVE_CODEC = 145;

constexpr char INTERFACE_NAME[] = "IQmImageFormat";

constexpr std::uint8_t PICTURE_BITS = 8;
constexpr std::uint32_t PICTURE_COMPONENTS = 3;

template <std::size_t N>
void CopyText(wchar_t (&wszTarget)[N], const wchar_t* pwszSource)
{
    std::size_t i = 0;
    for (; i < N - 1 && pwszSource[i] != L'\0'; ++i)
        wszTarget[i] = pwszSource[i];
    wszTarget[i] = L'\0';
}

// Stores what fnMake makes through ppFile, with one reference for the caller. Null and QM_ERR_FAIL when there is no
// memory for the object or for what it allocates.
template <typename IFile, typename TMake>
QmStatus GiveFile(IFile** ppFile, TMake fnMake)
{
    IFile* const pFile = WithoutExceptions<IFile*>(nullptr, fnMake);
    *ppFile = pFile;
    if (pFile == nullptr) return QM_ERR_FAIL;
    pFile->AddRef();
    return QM_OK;
}

QmStatus GiveOutputFile(CQmImageFormatMP4* pFormat, const CQmStringW& strPath, IQmOutputImageFile** ppFile)
{
    return GiveFile(ppFile,
                    [&] { return new CQmMP4OutputFile(pFormat, strPath, CQmMP4InputFile::MakeForWrittenFile); });
}

}  // namespace

IQmInterface* QM_ConstructorForCQmImageFormatMP4(const char* pszFile, unsigned int uiLine)
{
    return new (pszFile, uiLine) CQmImageFormatMP4;
}

CQmImageFormatMP4::CQmImageFormatMP4()
    : CQmClass(true), m_uiActiveCodec(NONE), m_uiFallbackCodec(NONE), m_uiCodecCount(NONE), m_aCodecs{}
{
    StartModuleRuntime();
}

CQmImageFormatMP4::~CQmImageFormatMP4()
{
    StopModuleRuntime();
}

CQmClass* CQmImageFormatMP4::GetQmClass()
{
    return this;
}

const SQmClassRecord* CQmImageFormatMP4::GetClassRecord()
{
    return &g_classSection.m_record;
}

void* CQmImageFormatMP4::QueryInterface(const char* pszInterface)
{
    if (std::strcmp(pszInterface, INTERFACE_NAME) != 0) return nullptr;
    AddRef();
    return static_cast<IQmImageFormat*>(this);
}

void CQmImageFormatMP4::SetClassFlag(bool bFlag)
{
    m_bDeleteOnRelease = bFlag;
}

QmStatus CQmImageFormatMP4::GetFormatId(CQmStringA& strId)
{
    strId = "MP4";
    return QM_OK;
}

QmStatus CQmImageFormatMP4::GetFormatDescription(CQmStringW& strDescription)
{
    strDescription = L"MP4 Image File Format";
    return QM_OK;
}

QmStatus CQmImageFormatMP4::GetFileExtension(CQmStringW& strExtension)
{
    strExtension = L".mp4";
    return QM_OK;
}

// --- codecs and quality ---

std::uint32_t CQmImageFormatMP4::BuildCodecTable()
{
    for (std::uint32_t i = 0; i < CODEC_ROWS; ++i)
    {
        CopyText(m_aCodecs[i].m_wszCode, g_aCodecRows[i].m_pwszCode);
        CopyText(m_aCodecs[i].m_wszName, g_aCodecRows[i].m_pwszName);
    }
    m_uiCodecCount = CODEC_ROWS;
    return m_uiCodecCount;
}

void CQmImageFormatMP4::BuildCodecTableIfNeeded()
{
    if (m_uiCodecCount == NONE) BuildCodecTable();
}

// Here and in SetActiveCodec the index after the last row is accepted, on purpose: the array has an empty row there,
// and a host may rely on the answer.
QmStatus CQmImageFormatMP4::GetCodecInfo(std::uint32_t uiIndex, SQmCodecInfo* pInfo)
{
    BuildCodecTableIfNeeded();
    if (uiIndex == NONE) uiIndex = 0;
    if (uiIndex > m_uiCodecCount) return QM_ERR_RANGE;

    const SQmCodecInfo& row = m_aCodecs[uiIndex];
    pInfo->m_uiReserved1 = row.m_uiReserved1;
    pInfo->m_uiReserved2 = row.m_uiReserved2;
    CopyText(pInfo->m_wszCode, row.m_wszCode);
    CopyText(pInfo->m_wszName, row.m_wszName);
    return QM_OK;
}

QmStatus CQmImageFormatMP4::SetActiveCodec(std::uint32_t uiIndex)
{
    BuildCodecTableIfNeeded();
    if (uiIndex > m_uiCodecCount)
    {
        m_uiActiveCodec = m_uiFallbackCodec;
        return QM_OK;
    }
    m_uiActiveCodec = uiIndex;
    DiagOutputExW_hlp(SOURCE_PATH, LINE_ACTIVE_CODEC, 0);
    DiagOutputExW(L"MP4: set active codec: %d: %s - %s", static_cast<int>(uiIndex), m_aCodecs[uiIndex].m_wszCode,
                  m_aCodecs[uiIndex].m_wszName);
    return QM_OK;
}

QmStatus CQmImageFormatMP4::GetActiveCodec(std::uint32_t* puiIndex)
{
    BuildCodecTableIfNeeded();
    *puiIndex = m_uiActiveCodec;
    return QM_OK;
}

std::uint32_t CQmImageFormatMP4::GetQualityCount()
{
    return QUALITY_STEPS;
}

QmStatus CQmImageFormatMP4::GetQualityInfo(std::uint32_t uiIndex, CQmStringW& strName, std::uint32_t* puiValue,
                                           double* pdValue)
{
    if (uiIndex >= QUALITY_STEPS) return QM_ERR_RANGE;
    strName = QM_GetTranslation(g_aQualityNames[uiIndex], SOURCE_PATH);
    *puiValue = g_aQualityValues[uiIndex];
    *pdValue = g_aQualityParams[uiIndex];
    return QM_OK;
}

// --- which pictures are accepted ---

QmStatus CQmImageFormatMP4::HasCapability(std::int32_t nCapability)
{
    return FindCapability(nCapability);
}

QmStatus CQmImageFormatMP4::CheckPixelFormat(std::uint32_t, std::uint32_t, std::uint8_t uiBits,
                                             std::uint32_t uiComponents)
{
    return uiBits == PICTURE_BITS && uiComponents == PICTURE_COMPONENTS ? QM_OK : QM_ERR_NOTSUPPORTED;
}

QmStatus CQmImageFormatMP4::GetPixelFormat(std::uint32_t, std::uint32_t, std::uint8_t* puiBits,
                                           std::uint32_t* puiComponents)
{
    *puiBits = PICTURE_BITS;
    *puiComponents = PICTURE_COMPONENTS;
    return QM_OK;
}

QmStatus CQmImageFormatMP4::CheckAttributes(const SQmImageAttributes* pAttributes)
{
    const SQmImageAttributes& a = *pAttributes;
    if (a.m_uiTileWidth != 0 && a.m_uiTileWidth != a.m_uiWidth) return QM_ERR_NOTSUPPORTED;
    if (a.m_uiTileHeight != 0 && a.m_uiTileHeight != a.m_uiHeight) return QM_ERR_NOTSUPPORTED;
    if (a.m_uiBitsInMemory != PICTURE_BITS || a.m_uiBitsSignificant != PICTURE_BITS) return QM_ERR_NOTSUPPORTED;
    if (a.m_uiComponents != PICTURE_COMPONENTS) return QM_ERR_NOTSUPPORTED;
    return QM_OK;
}

QmStatus CQmImageFormatMP4::FillAttributes(SQmImageAttributes* pAttributes)
{
    SQmImageAttributes& a = *pAttributes;
    a.m_uiTileWidth = a.m_uiWidth;
    a.m_uiTileHeight = a.m_uiHeight;
    a.m_uiWidthBytes = a.m_uiWidth * PICTURE_COMPONENTS;  // no row padding
    a.m_uiComponents = PICTURE_COMPONENTS;
    a.m_uiBitsInMemory = PICTURE_BITS;
    a.m_uiBitsSignificant = PICTURE_BITS;
    return QM_OK;
}

// --- file objects ---

QmStatus CQmImageFormatMP4::CreateOutputFile(void*, IQmOutputImageFile** ppFile)
{
    return GiveOutputFile(this, CQmStringW(), ppFile);
}

// The path is a copy, and a copy that found no memory is empty. A file without a path would accept every frame and
// write none, so an empty path is refused.
QmStatus CQmImageFormatMP4::CreateOutputFileForPath(CQmStringW strPath, IQmOutputImageFile** ppFile)
{
    if (strPath != L"") return GiveOutputFile(this, strPath, ppFile);
    *ppFile = nullptr;
    return QM_ERR_FAIL;
}

QmStatus CQmImageFormatMP4::OpenOutputFile(void* pValue, IQmOutputImageFile** ppFile)
{
    return CreateOutputFile(pValue, ppFile);
}

QmStatus CQmImageFormatMP4::OpenOutputFileForPath(CQmStringW strPath, IQmOutputImageFile** ppFile)
{
    return CreateOutputFileForPath(strPath, ppFile);
}

QmStatus CQmImageFormatMP4::CreateInputFileFromMemory(const void* pData, std::uint64_t uiSize,
                                                      IQmInputImageFile** ppFile)
{
    return GiveFile(ppFile, [&] { return new CQmMP4InputFile(this, pData, uiSize); });
}

QmStatus CQmImageFormatMP4::CreateInputFileFromByteArray(CQmByteArray* pData, IQmInputImageFile** ppFile)
{
    return GiveFile(ppFile, [&] { return new CQmMP4InputFile(this, pData); });
}

QmStatus CQmImageFormatMP4::CreateInputFileForPath(CQmStringW strPath, IQmInputImageFile** ppFile)
{
    return GiveFile(ppFile, [&] { return new CQmMP4InputFile(this, strPath, false, nullptr); });
}

// --- operations that this format has no use for ---

QmStatus CQmImageFormatMP4::UnusedPathOperationA(CQmStringW)
{
    return QM_ERR_NOTIMPL;
}

QmStatus CQmImageFormatMP4::UnusedPathOperationB(CQmStringW)
{
    return QM_ERR_NOTIMPL;
}

QmStatus CQmImageFormatMP4::UnusedOperationA()
{
    return QM_ERR_NOTIMPL;
}

QmStatus CQmImageFormatMP4::UnusedOperationB()
{
    return QM_ERR_NOTSUPPORTED;
}

QmStatus CQmImageFormatMP4::UnusedOperationC()
{
    return QM_ERR_NOTSUPPORTED;
}

// --- operations on whole files ---

QmStatus CQmImageFormatMP4::CopyImageFile(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bOverwrite,
                                          PQmFileProgress pfnProgress, void* pUser, std::uint32_t uiFlags)
{
    return QM_CopyFile(pwszFrom, pwszTo, bOverwrite, pfnProgress, pUser, uiFlags);
}

QmStatus CQmImageFormatMP4::MoveImageFile(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bOverwrite,
                                          PQmFileProgress pfnProgress, void* pUser, std::uint32_t uiFlags)
{
    return QM_MoveFile(pwszFrom, pwszTo, bOverwrite, pfnProgress, pUser, uiFlags);
}

QmStatus CQmImageFormatMP4::RemoveImageFile(const wchar_t* pwszPath, std::uint32_t uiFlags)
{
    return QM_RemoveFile(pwszPath, uiFlags);
}

QmStatus CQmImageFormatMP4::GetImageFileSize(const wchar_t* pwszPath, std::uint64_t* puiSize)
{
    return QM_GetFileSizeFromName(pwszPath, puiSize);
}
