#include "mp4_outputfile/mp4outputfile.h"

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
    : m_eState(EState::Waiting),
      m_pBackEnd(nullptr),
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
      m_bFrameTimeSet(false)
{
    // A copy that found no memory is empty, and an object without a path would accept every frame and write none.
    if (m_strFileName != strFileName) throw std::bad_alloc();

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

// The reference that GetFormat adds here is never given back: a host that was written for that releases it itself.
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
    const std::size_t uiTimes = m_times.m_vecFrameTimes.size();
    try
    {
        ApplyFrameTimeRule(m_times);  // for every frame, also one that fails below
        return EncodeFrame(uiIndex, pPixels);
    }
    catch (const std::bad_alloc&)
    {
        // A frame without an entry in the list would shift the times of all later ones.
        const bool bNoTime = m_times.m_vecFrameTimes.size() == uiTimes;
        if (m_eState == EState::Writing || (m_eState == EState::Waiting && bNoTime))
        {
            m_eState = EState::Lost;
            m_muxedFile.Abandon();
        }
        return QM_ERR_FAIL;
    }
}

QmStatus CQmMP4OutputFile::EncodeFrame(std::uint32_t uiIndex, const void* pPixels)
{
    if (m_eState == EState::Closed) return QM_ERR_FAIL;
    const SBackEnd& backEnd = AsksForCodec() ? FindBackEnd(AskForCodec().m_wszCode) : *m_pBackEnd;
    if (backEnd.m_bTimesAreDistances) m_times.m_dPrevElapsed = m_times.m_dElapsed;
    if (m_eState == EState::Lost) return QM_ERR_FAIL;
    if (!CanBeEncoded(pPixels))
    {
        m_eState = EState::Lost;
        return QM_ERR_FAIL;
    }

    if (m_eState == EState::Waiting && InitEncoder() != S_OK) return QM_ERR_FAIL;

    const EPictureFate eFate = m_pEncoder->WriteFrame(uiIndex, {pPixels, m_attrSource, m_attrEncoded}, m_times);
    if (eFate == EPictureFate::Lost) m_eState = EState::Lost;
    return eFate == EPictureFate::Taken ? QM_OK : QM_ERR_FAIL;
}

// Whether the picture can be read and encoded. A host that goes on with a picture that was refused may hold fewer bytes
// than 24-bit pixels take; and an encoder takes pictures of its first size only.
bool CQmMP4OutputFile::CanBeEncoded(const void* pPixels) const
{
    if (pPixels == nullptr || m_attrSource.m_uiWidthBytes < std::uint64_t{m_attrSource.m_uiWidth} * 3) return false;
    const bool bSameSize = m_attrEncoded.m_uiWidth == m_uiFileWidth && m_attrEncoded.m_uiHeight == m_uiFileHeight;
    return m_eState != EState::Writing || bSameSize;
}

// --- the encoder ---

// The codec counts until a back end is set up. Some back ends have it asked for at every frame all the same.
bool CQmMP4OutputFile::AsksForCodec() const
{
    return m_pBackEnd == nullptr || m_eState == EState::Waiting || m_pBackEnd->m_bAsksEveryFrame;
}

// A host that never set a codec gets the first row of the table.
SQmCodecInfo CQmMP4OutputFile::AskForCodec()
{
    std::uint32_t uiCodec = 0;
    SQmCodecInfo codec{};
    m_pFormat->GetActiveCodec(&uiCodec);
    m_pFormat->GetCodecInfo(uiCodec, &codec);
    return codec;
}

// Sets up the back end of the active codec. 0, or whatever value the step that failed gave.
HRESULT CQmMP4OutputFile::InitEncoder()
{
    const SQmCodecInfo codec = AskForCodec();
    const SBackEnd& backEnd = FindBackEnd(codec.m_wszCode);
    // The list of times already has entries of frames that another back end failed to set up for.
    if (m_pBackEnd != nullptr && m_pBackEnd != &backEnd) return E_FAIL;

    m_pBackEnd = &backEnd;
    m_uiFileWidth = m_attrEncoded.m_uiWidth;
    m_uiFileHeight = m_attrEncoded.m_uiHeight;
    m_eState = backEnd.m_bOpensAgain ? EState::Waiting : EState::Lost;  // should the set-up fail
    if (m_pEncoder == nullptr) m_pEncoder = backEnd.m_pfnMake(m_muxedFile);
    const HRESULT hr = m_pEncoder->Open({m_strFileName, m_uiFileWidth, m_uiFileHeight, m_attrSource.m_uiWidth,
                                         m_attrSource.m_uiHeight, m_attrEncoded.m_uiSequenceCount, codec.m_wszCode});
    if (hr == S_OK) m_eState = EState::Writing;
    return hr;
}

QmStatus CQmMP4OutputFile::CloseOutput()
{
    m_eState = EState::Closed;
    try
    {
        if (m_pEncoder != nullptr) m_pEncoder->Close(m_times);
    }
    catch (const std::bad_alloc&)
    {
        // The file is not finished yet. The object's end tries it once more.
    }
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
