#include "mp4filesimpl/mp4inputfile.h"

#include <new>
#include <utility>

#include "common/modulestate.h"
#include "mp4filesimpl/formattables.h"

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
      m_dJulianDay(-1.0),
      m_pSession(nullptr),
      m_pSource(nullptr),
      m_pGrabber(nullptr),
      m_pSinkActivate(nullptr),
      m_pTopology(nullptr),
      m_pMediaType(nullptr),
      m_bTopologySet(false),
      m_hWorkerThread(nullptr),
      m_hPumpThread(nullptr)
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
    return new (std::nothrow) CQmMP4InputFile(pFormat, strPath, true, pOutputFile);
}

CQmMP4InputFile::~CQmMP4InputFile()
{
    EndThreads();
    m_pFormat->GetQmClass()->Release();
    ShutDownGraph();
    ReleaseGraph();
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

// --- shape ---

QmStatus CQmMP4InputFile::GetImageAttributes(SQmImageAttributes* pAttributes)
{
    if (!m_bOpen && OpenGraph() != QM_OK) return QM_ERR_FAIL;
    *pAttributes = m_Attributes;
    return QM_OK;
}

// Opens the file if it isn't open. Whether that worked is not examined: the callers answer as they can.
void CQmMP4InputFile::NeedOpen()
{
    if (m_bOpen) return;
    SQmImageAttributes attributes;
    GetImageAttributes(&attributes);
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

// --- frames ---

QmStatus CQmMP4InputFile::ReadFirstFrame(void* pBuffer, void* pPass1, void* pPass2)
{
    return ReadFrame(0, pBuffer, pPass1, pPass2);
}

QmStatus CQmMP4InputFile::ReadFrame(std::uint32_t uiIndex, void* pBuffer, void*, void*)
{
    if (pBuffer == nullptr) return QM_OK;
    NeedOpen();
    return RequestFrame(uiIndex, pBuffer);
}

// Serves whole-width reads from the top only, and always gives the whole frame: the height is not compared.
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

// --- places of the host's interface that this format has no use for ---

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
