#include "mp4_outputfile/mp4outputfile.h"

#include <cwchar>
#include <new>

#include "common/modulestate.h"

namespace
{

constexpr std::uint32_t g_uiOpenEndedSequence = 0xFFFFFFFF;

std::uint32_t RoundUpToEven(std::uint32_t uiPixels)
{
    return ((uiPixels - 1) & ~1U) + 2;
}

// Bytes of a row, rounded up to a multiple of 4.
std::uint32_t CalcRowBytes(std::uint32_t uiBits, std::uint32_t uiWidth, std::uint32_t uiComponents)
{
    return (((uiBits * uiWidth * uiComponents + 7) / 8 - 1) & ~3U) + 4;
}

}  // namespace

CQmMP4OutputFile::CQmMP4OutputFile(IQmImageFormat* pFormat, const CQmStringW& strFileName,
                                   PMakeWrittenFileReader pfnMakeReader)
    : m_bAmf(false),
      m_bNvenc(false),
      m_bMediaFoundation(false),
      m_nRefCount(0),
      m_nFrameCounter(0),
      m_pFormat(pFormat),
      m_pfnMakeReader(pfnMakeReader),
      m_pReader(nullptr),
      m_strFileName(strFileName),
      m_attrEncoded{},
      m_attrSource{},
      m_uiFileWidth(0),
      m_uiFileHeight(0),
      m_bPictureLost(false),
      m_bClosed(false),
      m_bFrameTimeSet(false)
{
    m_attrSource.m_uiCompression = 2;
    ++g_uiInputFileCount;
    m_pFormat->GetQmClass()->AddRef();
}

CQmMP4OutputFile::~CQmMP4OutputFile()
{
    m_pFormat->GetQmClass()->Release();
    m_pFormat = nullptr;
    CloseOutput();  // finds nothing left to do when the host has closed the file itself
}

// Not atomic: the host counts on the thread that writes.
std::int32_t CQmMP4OutputFile::AddRef()
{
    return static_cast<std::int32_t>(++m_nRefCount);
}

std::int32_t CQmMP4OutputFile::Release()
{
    const std::uint32_t nRefCount = --m_nRefCount;
    if (nRefCount == 0) delete this;
    return static_cast<std::int32_t>(nRefCount);
}

IQmImageFormat* CQmMP4OutputFile::GetFormat()
{
    if (m_pFormat != nullptr) m_pFormat->GetQmClass()->AddRef();
    return m_pFormat;
}

// --- what the host says about the pictures ---

// The reference that GetFormat adds here is never given back: hosts have come to rely on it that the format object of
// a file that they wrote stays.
QmStatus CQmMP4OutputFile::SetImageAttributes(const SQmImageAttributes* pAttributes)
{
    if (GetFormat() == nullptr || pAttributes == nullptr) return QM_ERR_FAIL;

    m_attrSource = *pAttributes;
    m_attrEncoded = *pAttributes;
    for (SQmImageAttributes* pCopy : {&m_attrSource, &m_attrEncoded})
    {
        if (pCopy->m_uiSequenceCount == 0) pCopy->m_uiSequenceCount = g_uiOpenEndedSequence;
    }
    m_attrSource.m_uiWidthBytes =
        CalcRowBytes(m_attrSource.m_uiBitsInMemory, m_attrSource.m_uiWidth, m_attrSource.m_uiComponents);

    // A refused picture leaves the copies as they are, not rounded.
    if (m_attrSource.m_uiBitsInMemory != 8 || m_attrSource.m_uiComponents != 3) return QM_ERR_RANGE;

    m_attrEncoded.m_uiWidth = RoundUpToEven(m_attrSource.m_uiWidth);
    m_attrEncoded.m_uiHeight = RoundUpToEven(m_attrSource.m_uiHeight);
    m_attrEncoded.m_uiTileWidth = RoundUpToEven(m_attrSource.m_uiTileWidth);
    m_attrEncoded.m_uiTileHeight = RoundUpToEven(m_attrSource.m_uiTileHeight);
    m_attrEncoded.m_uiWidthBytes =
        CalcRowBytes(m_attrEncoded.m_uiBitsInMemory, m_attrEncoded.m_uiWidth, m_attrEncoded.m_uiComponents);
    return QM_OK;
}

QmStatus CQmMP4OutputFile::SetPictureMetadata(std::uint32_t /*uiIndex*/, const SQmPictureMetadata* pMetadata)
{
    return pMetadata == nullptr ? QM_ERR_FAIL : SetFrameTime(pMetadata->m_dTime);
}

QmStatus CQmMP4OutputFile::SetFrameTime(double dTimeMs)
{
    m_bFrameTimeSet = true;
    m_times.m_dFrameTime = dTimeMs;
    return QM_OK;
}

// --- writing ---

// The index moves on whatever became of the frame.
QmStatus CQmMP4OutputFile::WriteNextFrame(const void* pPixels)
{
    const QmStatus nStatus = WriteFrame(m_nFrameCounter, pPixels, nullptr, nullptr);
    ++m_nFrameCounter;
    return nStatus;
}

QmStatus CQmMP4OutputFile::WriteFrame(std::uint32_t uiIndex, const void* pPixels, void* /*pPass1*/, void* /*pPass2*/)
{
    try
    {
        ApplyFrameTimeRule(m_times);  // for every frame, also one that fails below
        return EncodeFrame(uiIndex, pPixels);
    }
    catch (const std::bad_alloc&)
    {
        return QM_ERR_FAIL;
    }
}

// Whether the picture can be read and encoded. A host that goes on with a picture that was refused may hold fewer bytes
// than 24-bit pixels take; and an encoder takes pictures of its first size only. A file that lacks one of its pictures
// ends there, were it the first: it has its entry in the list of times, and later ones would be listed at the times of
// those before them.
bool CQmMP4OutputFile::AcceptPicture(const void* pPixels)
{
    const bool bWholeRows =
        pPixels != nullptr && m_attrSource.m_uiWidthBytes >= std::uint64_t{m_attrSource.m_uiWidth} * 3;
    const bool bSameSize = m_attrEncoded.m_uiWidth == m_uiFileWidth && m_attrEncoded.m_uiHeight == m_uiFileHeight;
    if (!bWholeRows || (IsSetUp() && !bSameSize)) m_bPictureLost = true;
    return !m_bPictureLost;
}

QmStatus CQmMP4OutputFile::EncodeFrame(std::uint32_t uiIndex, const void* pPixels)
{
    // Another encoder would begin a file anew that was closed or given up.
    if (m_bClosed || m_mediaFoundation.HasFailed() || !AcceptPicture(pPixels)) return QM_ERR_FAIL;

    // The format object is asked before every frame until a session runs, and its answer counts until a back end is
    // chosen.
    if (!m_mediaFoundation.IsRunning())
    {
        const bool bSetsUpEarly = GetActiveBackEnd() != EBackEnd::MediaFoundation;
        // The list of times already has entries of frames that another back end would have to be told of.
        if (bSetsUpEarly && m_bMediaFoundation) return QM_ERR_FAIL;
        if (bSetsUpEarly && !m_bAmf && !m_bNvenc && InitEncoder() != S_OK) return QM_ERR_FAIL;
    }

    if (m_bAmf) return QM_ERR_FAIL;  // no encoder stands behind it in this version
    if (m_bNvenc) return m_nvenc.WriteFrame(pPixels, m_uiFileWidth, m_uiFileHeight);
    return EncodeWithMediaFoundation(uiIndex, pPixels);
}

// The session gets every frame one call late. A frame with index 0 is never preceded by another, whatever came before
// it, and so a host that gives each frame that index has all but the last one overwritten.
QmStatus CQmMP4OutputFile::EncodeWithMediaFoundation(std::uint32_t uiIndex, const void* pPixels)
{
    m_bMediaFoundation = true;
    m_times.m_dPrevElapsed = m_times.m_dElapsed;
    if (!m_mediaFoundation.IsRunning())
    {
        if (m_mediaFoundation.OpenHandover(m_attrEncoded.m_uiWidth, m_attrEncoded.m_uiHeight) != QM_OK ||
            InitEncoder() != S_OK || m_mediaFoundation.StartThread() != QM_OK)
        {
            return QM_ERR_FAIL;
        }
    }
    return m_mediaFoundation.WriteFrame(pPixels, uiIndex != 0, m_attrSource, m_attrEncoded);
}

// A host that never set a codec gets the first row of the table.
CQmMP4OutputFile::EBackEnd CQmMP4OutputFile::GetActiveBackEnd()
{
    if (m_pFormat == nullptr) return EBackEnd::MediaFoundation;
    std::uint32_t uiCodec = 0;
    SQmCodecInfo codec{};
    m_pFormat->GetActiveCodec(&uiCodec);
    m_pFormat->GetCodecInfo(uiCodec, &codec);
    if (std::wcscmp(codec.m_wszCode, L"AMF1") == 0) return EBackEnd::Amf;
    if (std::wcscmp(codec.m_wszCode, L"NVENC1") == 0) return EBackEnd::Nvenc;
    return EBackEnd::MediaFoundation;
}

HRESULT CQmMP4OutputFile::InitEncoder()
{
    m_uiFileWidth = m_attrEncoded.m_uiWidth;
    m_uiFileHeight = m_attrEncoded.m_uiHeight;
    switch (GetActiveBackEnd())
    {
    case EBackEnd::Nvenc:
        m_bNvenc = true;
        return m_nvenc.InitNvencEncoder(m_uiFileWidth, m_uiFileHeight, m_strFileName);

    case EBackEnd::Amf:
        m_bAmf = true;
        return E_FAIL;

    case EBackEnd::MediaFoundation:
        break;
    }
    return m_mediaFoundation.BuildGraph();
}

QmStatus CQmMP4OutputFile::CloseOutput()
{
    m_bClosed = true;
    try
    {
        if (m_bNvenc) m_nvenc.Close(m_times.m_vecFrameTimes, m_uiFileWidth, m_uiFileHeight);
    }
    catch (const std::bad_alloc&)
    {
        // The placeholder tells that the file isn't finished. The object's end tries it once more.
    }
    m_mediaFoundation.Close();
    return QM_OK;
}

// The reader keeps no tie to this object. When there is no memory for one, whatever the caller's pointer holds already
// is given out once more.
QmStatus CQmMP4OutputFile::GetWrittenFileReader(void* /*pValue*/, IQmInputImageFile** ppReader)
{
    m_pReader = m_pfnMakeReader(m_pFormat, m_strFileName, this);
    if (m_pReader != nullptr) *ppReader = m_pReader;
    if (*ppReader == nullptr) return QM_ERR_FAIL;
    (*ppReader)->AddRef();
    return QM_OK;
}
