#include "mp4filesimpl/mp4inputfile.h"

#include <cwchar>
#include <functional>
#include <new>

#include "common/modulestate.h"
#include "common/withoutexceptions.h"
#include "hostapi/hostplatform.h"
#include "mp4filesimpl/formattables.h"
#include "mp4filesimpl/frametimes.h"
#include "mp4filesimpl/preview.h"

namespace
{

constexpr wchar_t TIMES_CACHE_ITEM[] = L"AcqTimesCache";
constexpr double NO_DATE = -1.0;

}  // namespace

// --- life ---

CQmMP4InputFile::CQmMP4InputFile(IQmImageFormat* pFormat, CQmByteArray* pByteArray)
    : m_nRefCount(0),
      m_pFormat(pFormat),
      m_pOutputFile(nullptr),
      m_bWrittenFile(false),
      m_bStop(false),
      m_pByteArray(pByteArray),
      m_pMemory(nullptr),
      m_uiMemorySize(0),
      m_Attributes{},
      m_bOpen(false),
      m_dJulianDay(NO_DATE),
      m_Reader(m_Graph, m_vFrameTimesMs, m_Attributes)
{
    m_pFormat->GetQmClass()->AddRef();
    ++g_uiInputFileCount;
}

CQmMP4InputFile::CQmMP4InputFile(IQmImageFormat* pFormat, const void* pMemory, std::uint64_t uiMemorySize)
    : CQmMP4InputFile(pFormat, &m_Data)
{
    m_pMemory = pMemory;
    m_uiMemorySize = uiMemorySize;
}

CQmMP4InputFile::CQmMP4InputFile(IQmImageFormat* pFormat, CQmStringW strPath, bool bWrittenFile, IQmOutputImageFile*)
    : CQmMP4InputFile(pFormat, &m_Data)
{
    m_strPath = strPath;
    m_bWrittenFile = bWrittenFile;
}

IQmInputImageFile* CQmMP4InputFile::MakeForWrittenFile(IQmImageFormat* pFormat, const CQmStringW& strPath,
                                                       IQmOutputImageFile* pOutputFile)
{
    return WithoutExceptions<IQmInputImageFile*>(
        nullptr, [&] { return new CQmMP4InputFile(pFormat, strPath, true, pOutputFile); });
}

CQmMP4InputFile::~CQmMP4InputFile()
{
    m_bStop = true;
    m_Reader.End();
    m_pFormat->GetQmClass()->Release();
    m_Graph.ShutDown();
    m_Graph.Release();
}

std::int32_t CQmMP4InputFile::AddRef()
{
    return ++m_nRefCount;
}

std::int32_t CQmMP4InputFile::Release()
{
    const std::int32_t nBefore = m_nRefCount--;
    if (nBefore != 1) return nBefore;
    delete this;
    return 0;
}

IQmImageFormat* CQmMP4InputFile::GetFormat()
{
    m_pFormat->GetQmClass()->AddRef();
    return m_pFormat;
}

// --- opening and shape ---

// A first graph finds the times of the frames, a second one is for reading them. A file whose source could be made is
// tried once; any other failure may be tried again.
QmStatus CQmMP4InputFile::OpenGraph()
{
    if (!m_Graph.HasSource())
    {
        m_Graph.ShutDown();
        m_Graph.Release();
        WithoutExceptions<HRESULT>(E_OUTOFMEMORY, [&] { return MakeGraphs(); });  // m_bOpen is the result
        // The times of a file that didn't open may be incomplete, or in ticks.
        if (!m_bOpen) m_vFrameTimesMs.clear();
        m_Attributes.m_uiSequenceCount = static_cast<std::uint32_t>(m_vFrameTimesMs.size());
    }
    return m_bOpen ? QM_OK : QM_ERR_FAIL;
}

HRESULT CQmMP4InputFile::MakeGraphs()
{
    const HRESULT hr = FindFrameTimes(m_strPath, m_Graph, m_vFrameTimesMs);
    if (FAILED(hr)) return hr;
    m_Graph.ShutDown();
    m_Graph.Release();
    return m_Graph.MakeForFrames(m_strPath, &m_bStop, &m_Attributes, &m_bOpen);
}

QmStatus CQmMP4InputFile::GetImageAttributes(SQmImageAttributes* pAttributes)
{
    if (!m_bOpen && OpenGraph() != QM_OK) return QM_ERR_FAIL;
    *pAttributes = m_Attributes;
    return QM_OK;
}

// The status is not examined: the callers answer as they can.
void CQmMP4InputFile::OpenIfNeeded()
{
    if (!m_bOpen)
    {
        SQmImageAttributes attributes;
        GetImageAttributes(&attributes);
    }
}

QmStatus CQmMP4InputFile::GetPictureFormat(std::uint32_t* puiWidth, std::uint32_t* puiHeight, std::uint32_t* puiBits,
                                           std::uint32_t* puiComponents)
{
    *puiWidth = m_Attributes.m_uiWidth;
    *puiHeight = m_Attributes.m_uiHeight;
    *puiBits = m_Attributes.m_uiBitsSignificant;
    *puiComponents = m_Attributes.m_uiComponents;
    return QM_OK;
}

QmStatus CQmMP4InputFile::HasCapability(std::int32_t nCapability)
{
    return FindCapability(nCapability);
}

// --- times ---

QmStatus CQmMP4InputFile::GetPictureMetadata(std::uint32_t uiIndex, SQmPictureMetadata& metadata, std::uint32_t)
{
    OpenIfNeeded();

    metadata.SetToDefault();
    SQmPicturePlanes::Free(metadata.m_Planes);
    SQmPicturePlanes::Alloc(metadata.m_Planes, 1, 1);
    metadata.m_bMeta3 = 0;
    metadata.m_dMeta2 = 1.0;
    metadata.m_dMeta1 = 0;
    metadata.m_strMeta4.Empty();
    if (uiIndex < m_vFrameTimesMs.size()) metadata.m_dTime = static_cast<double>(m_vFrameTimesMs[uiIndex]);
    SQmPicturePlanes::MakeRGB(metadata.m_Planes);

    return FindFileDate();
}

// Keeps the date of the file's last writing, as far as the file has one; no operation returns it. A file that
// doesn't open any more is the one failure of GetPictureMetadata.
QmStatus CQmMP4InputFile::FindFileDate()
{
    if (m_dJulianDay != NO_DATE || !(m_strPath != L"")) return QM_OK;

    QmFileHandle hFile = nullptr;
    if (QM_OpenFile(m_strPath, QM_FILE_READ, QM_SHARE_READ, -1, &hFile) != QM_OK) return QM_ERR_FILEOPEN;
    std::tm written = {};
    const QmStatus nStatus = QM_GetFileTimes(hFile, nullptr, nullptr, &written);
    QM_CloseFile(hFile);
    if (nStatus == QM_OK) m_dJulianDay = CQmDateTime(written).GetJulianDayNumber();
    return QM_OK;
}

QmStatus CQmMP4InputFile::GetExperiment(SQmExperiment& experiment)
{
    OpenIfNeeded();

    const std::uint32_t uiCount = static_cast<std::uint32_t>(m_vFrameTimesMs.size());
    SQmExperiment::Init(experiment, EQmExperimentType::TimeLoop, false, uiCount, 0, 0, 1);
    experiment.m_uiCount = uiCount;
    experiment.m_uiFirst = 0;

    SQmPictureMetadata first;
    SQmPictureMetadata last;
    GetPictureMetadata(0, first, 0);
    GetPictureMetadata(uiCount - 1, last, 0);

    // The plain mean. One frame has no distance to another, and its period is 0 / 0: not a number.
    experiment.m_dDuration = last.m_dTime - first.m_dTime;
    experiment.m_dPeriod = experiment.m_dDuration / (static_cast<double>(uiCount) - 1.0);
    experiment.m_dPeriod2 = experiment.m_dPeriod;
    experiment.m_dPeriod3 = experiment.m_dPeriod;
    return QM_OK;
}

// Returns the list as it stands, without opening the file: before that it is an empty block. Fails without memory for
// the block. SetData's result is not examined.
QmStatus CQmMP4InputFile::GetCacheItem(const wchar_t* pwszName, CQmByteArray* pData)
{
    if (std::wcscmp(pwszName, TIMES_CACHE_ITEM) != 0) return QM_ERR_NOTIMPL;

    std::vector<double> vTimes;
    try
    {
        vTimes.assign(m_vFrameTimesMs.begin(), m_vFrameTimesMs.end());
    }
    catch (const std::bad_alloc&)
    {
        return QM_ERR_FAIL;
    }
    pData->SetData(vTimes.data(), vTimes.size() * sizeof(double), EQmByteArrayModeOp::Replace,
                   EQmByteArrayModeAlloc::Default);
    return QM_OK;
}

// --- frames ---

QmStatus CQmMP4InputFile::ReadFirstFrame(void* pBuffer, void* pPass1, void* pPass2)
{
    return ReadFrame(0, pBuffer, pPass1, pPass2);
}

QmStatus CQmMP4InputFile::ReadFrame(std::uint32_t uiIndex, void* pBuffer, void*, void*)
{
    if (pBuffer == nullptr) return QM_OK;
    OpenIfNeeded();
    return RequestFrame(uiIndex, pBuffer);
}

QmStatus CQmMP4InputFile::RequestFrame(std::uint32_t uiIndex, void* pBuffer)
{
    if (pBuffer == nullptr) return QM_OK;
    if (m_bWrittenFile && !m_bStop) return QM_ERR_FAIL;
    OpenIfNeeded();
    return m_bOpen ? m_Reader.Read(uiIndex, pBuffer) : QM_ERR_FAIL;
}

// Serves whole-width reads from the top only, and always delivers the whole frame: the height is not compared.
QmStatus CQmMP4InputFile::ReadFrameTile(std::uint32_t uiIndex, std::uint32_t, std::uint32_t, std::uint32_t uiLeft,
                                        std::uint32_t uiTop, std::uint32_t uiWidth, std::uint32_t, void* pBuffer,
                                        std::uint32_t, std::uint32_t, void* pPass1, void* pPass2)
{
    if (uiLeft != 0 || uiTop != 0 || uiWidth != m_Attributes.m_uiWidth || m_Attributes.m_uiHeight == 0)
    {
        return QM_ERR_NOTIMPL;
    }
    return ReadFrame(uiIndex, pBuffer, pPass1, pPass2);
}

QmStatus CQmMP4InputFile::GetPreviewBitmap(std::uint32_t* puiWidth, std::uint32_t* puiHeight, void* pBuffer, void*,
                                           bool bAutoContrast, void* pPass1, void* pPass2)
{
    OpenIfNeeded();
    if (puiWidth == nullptr || puiHeight == nullptr) return QM_ERR_FAIL;
    if (pBuffer == nullptr)
    {
        *puiWidth = m_Attributes.m_uiWidth;
        *puiHeight = m_Attributes.m_uiHeight;
        return QM_OK;
    }
    const auto fnReadFirstFrame = [&](void* pPixels) { return ReadFirstFrame(pPixels, pPass1, pPass2); };
    // By reference: a copy of the function would need memory, and an exception must not reach the host.
    return MakePreview(m_Attributes, *puiWidth, *puiHeight, bAutoContrast, pBuffer, std::cref(fnReadFirstFrame));
}

// --- operations of the host's interface that this format doesn't use ---

QmStatus CQmMP4InputFile::InputOperationA()
{
    return QM_ERR_NOTSUPPORTED;
}

QmStatus CQmMP4InputFile::InputOperationB()
{
    return QM_ERR_NOTSUPPORTED;
}

QmStatus CQmMP4InputFile::InputOperationC()
{
    return QM_ERR_NOTSUPPORTED;
}

QmStatus CQmMP4InputFile::InputOperationD()
{
    return QM_ERR_NOTIMPL;
}

QmStatus CQmMP4InputFile::InputOperationE()
{
    return QM_ERR_NOTSUPPORTED;
}

QmStatus CQmMP4InputFile::InputOperationF()
{
    return QM_OK;
}

QmStatus CQmMP4InputFile::InputOperationG()
{
    return QM_ERR_NOTSUPPORTED;
}

QmStatus CQmMP4InputFile::InputOperationH()
{
    return QM_ERR_NOTSUPPORTED;
}

QmStatus CQmMP4InputFile::InputOperationI()
{
    return QM_ERR_NOTSUPPORTED;
}

QmStatus CQmMP4InputFile::InputOperationJ()
{
    return QM_ERR_NOTSUPPORTED;
}

QmStatus CQmMP4InputFile::InputOperationK()
{
    return QM_ERR_NOTSUPPORTED;
}

QmStatus CQmMP4InputFile::InputOperationL(void** ppCleared)
{
    *ppCleared = nullptr;
    return QM_ERR_NOTSUPPORTED;
}

QmStatus CQmMP4InputFile::InputOperationM()
{
    return QM_ERR_NOTIMPL;
}

QmStatus CQmMP4InputFile::InputOperationN()
{
    return QM_ERR_NOTIMPL;
}

bool CQmMP4InputFile::InputOperationO()
{
    return false;
}

QmStatus CQmMP4InputFile::InputOperationP()
{
    return QM_ERR_NOTIMPL;
}

QmStatus CQmMP4InputFile::InputOperationQ()
{
    return QM_ERR_NOTIMPL;
}

QmStatus CQmMP4InputFile::InputOperationR()
{
    return QM_ERR_NOTIMPL;
}

QmStatus CQmMP4InputFile::InputOperationS()
{
    return QM_ERR_NOTIMPL;
}

QmStatus CQmMP4InputFile::InputOperationT()
{
    return QM_ERR_NOTIMPL;
}

QmStatus CQmMP4InputFile::InputOperationU()
{
    return QM_OK;
}
