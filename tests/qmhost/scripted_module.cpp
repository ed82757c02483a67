// A file-format module for tests: it opens every file that exists, records in every file that it writes what it was
// given (scripted_output.cpp), and does what the environment variable QMHOST_SCRIPT says: items "name=number" separated
// by blanks, where a name is an operation, to give that status, or
//
//   frames, width, height  what the file has
//   frame                  the one frame for which ReadFrame or WriteNextFrame gives its status; without it all frames
//   dies                   1 for an input object that reads no frame any more after one that failed
//   times                  the number of entries in the block of times, when it differs from frames
//   factory                0 for a factory that gives null
//   interface              0 for an object without the format interface
//   badperiod              1 for a mean period that is no number
//   makesfile              0 for an output object that doesn't report that it couldn't open its file
//   index                  0 for a file that is written without an index
//   listed                 the number of pictures in the index of a file that is written
//   large                  1 for a written file above 4 GiB
//   codecs                 1 for a table with the codecs NVENC1 and AMF1 too
//   reason                 0 for a frame that fails without a line in the diagnostics
//   hangs                  the frame at which ReadFrame or WriteNextFrame reports it on standard error and never
//                          returns
//
// Byte x of row y of frame f is (7f + 5y + x) mod 251, padding is 0xEE, frame f is at 40f + f mod 3 milliseconds.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <sstream>
#include <string>
#include <thread>

#include "hostapi/iqmimageformat.h"
#include "hostapi/iqminputimagefile.h"
#include "hostapi/iqmoutputimagefile.h"
#include "scripted.h"

int Scripted(const std::string& name, int nDefault)
{
    const char* const pszScript = std::getenv("QMHOST_SCRIPT");
    std::istringstream items(pszScript ? pszScript : "");
    for (std::string item; items >> item;)
        if (item.starts_with(name + "=")) return std::stoi(item.substr(name.size() + 1));
    return nDefault;
}

void HangAt(std::uint32_t uiFrame)
{
    if (Scripted("hangs", -1) != static_cast<int>(uiFrame)) return;
    std::fprintf(stderr, "scripted module: hangs\n");
    for (;;)
        std::this_thread::sleep_for(std::chrono::hours(1));
}

QmStatus Status(const char* pszOperation)
{
    return Scripted(pszOperation, QM_OK);
}

std::uint32_t Number(const char* pszName, int nDefault)
{
    return static_cast<std::uint32_t>(Scripted(pszName, nDefault));
}

ObjectCount::~ObjectCount()
{
    if (m_nObjects != 0) std::fprintf(stderr, "scripted module: %d objects are left\n", m_nObjects);
}
ObjectCount g_objects;

namespace
{

double TimeMs(std::uint32_t uiFrame)
{
    return 40.0 * uiFrame + uiFrame % 3;
}

void Fill(std::uint32_t uiFrame, std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiPitch, void* pBuffer)
{
    auto* pByte = static_cast<unsigned char*>(pBuffer);
    for (std::uint32_t y = 0; y < uiHeight; ++y)
    {
        for (std::uint32_t x = 0; x < uiPitch; ++x)
            *pByte++ = x < 3 * uiWidth ? static_cast<unsigned char>((7 * uiFrame + 5 * y + x) % 251) : 0xEE;
    }
}

class ScriptedInputFile : public IQmInputImageFile
{
public:
    explicit ScriptedInputFile(IQmImageFormat* pFormat) : m_pFormat(pFormat)
    {
        ++g_objects.m_nObjects;
        m_pFormat->GetQmClass()->AddRef();
    }
    ~ScriptedInputFile() override
    {
        m_pFormat->GetQmClass()->Release();
        --g_objects.m_nObjects;
    }

    std::int32_t AddRef() override { return ++m_nRefCount; }
    std::int32_t Release() override
    {
        const std::int32_t nCount = --m_nRefCount;
        if (nCount == 0) delete this;
        return nCount;
    }
    IQmImageFormat* GetFormat() override { return nullptr; }
    QmStatus GetPictureMetadata(std::uint32_t uiIndex, SQmPictureMetadata& metadata, std::uint32_t) override
    {
        metadata.m_dTime = TimeMs(uiIndex);
        return Status("GetPictureMetadata");
    }
    QmStatus GetExperiment(SQmExperiment& experiment) override
    {
        const std::uint32_t uiFrames = Number("frames", 5);
        experiment.m_dDuration = TimeMs(uiFrames - 1);
        experiment.m_dPeriod = Scripted("badperiod", 0) != 0 ? std::numeric_limits<double>::quiet_NaN() : 40.25;
        return Status("GetExperiment");
    }
    QmStatus GetImageAttributes(SQmImageAttributes* pAttributes) override
    {
        pAttributes->m_uiWidth = Number("width", 3);
        pAttributes->m_uiHeight = Number("height", 2);
        pAttributes->m_uiWidthBytes = ((pAttributes->m_uiWidth * 3 - 1) & ~3u) + 4;
        pAttributes->m_uiSequenceCount = Number("frames", 5);
        return Status("GetImageAttributes");
    }
    QmStatus GetPreviewBitmap(std::uint32_t* puiWidth, std::uint32_t* puiHeight, void* pBuffer, void*, bool bContrast,
                              void*, void*) override
    {
        Fill(bContrast ? 100 : 200, *puiWidth, *puiHeight, (3 * (*puiWidth + 1)) & ~3u, pBuffer);
        return Status("GetPreviewBitmap");
    }
    QmStatus ReadFrame(std::uint32_t uiIndex, void* pBuffer, void*, void*) override
    {
        if (uiIndex >= Number("frames", 5)) std::fprintf(stderr, "scripted module: frame %u isn't there\n", uiIndex);
        HangAt(uiIndex);
        SQmImageAttributes attributes;
        GetImageAttributes(&attributes);
        Fill(uiIndex, attributes.m_uiWidth, attributes.m_uiHeight, attributes.m_uiWidthBytes, pBuffer);
        if (m_bDead || Number("frame", static_cast<int>(uiIndex)) != uiIndex) return m_bDead ? QM_ERR_FAIL : QM_OK;
        m_bDead = Scripted("dies", 0) != 0;
        return Status("ReadFrame");
    }
    QmStatus GetCacheItem(const wchar_t* pwszName, CQmByteArray* pData) override
    {
        if (std::wstring(pwszName) != L"AcqTimesCache") return QM_ERR_NOTIMPL;
        const std::uint32_t uiEntries = Number("times", Scripted("frames", 5));
        pData->SetSize(0);
        for (std::uint32_t i = 0; i < uiEntries; ++i)
        {
            const double dTime = TimeMs(i);
            pData->SetData(&dTime, sizeof dTime, EQmByteArrayModeOp::Append, EQmByteArrayModeAlloc::Default);
        }
        return Status("GetCacheItem");
    }

    QmStatus ReadFirstFrame(void*, void*, void*) override { return QM_ERR_NOTIMPL; }
    QmStatus ReadFrameTile(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                           std::uint32_t, void*, std::uint32_t, std::uint32_t, void*, void*) override
    {
        return QM_ERR_NOTIMPL;
    }
    QmStatus GetPictureFormat(std::uint32_t*, std::uint32_t*, std::uint32_t*, std::uint32_t*) override
    {
        return QM_ERR_NOTIMPL;
    }
    QmStatus HasCapability(std::int32_t) override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationA() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationB() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationC() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationD() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationE() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationF() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationG() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationH() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationI() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationJ() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationK() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationL(void**) override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationM() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationN() override { return QM_ERR_NOTIMPL; }
    bool InputOperationO() override { return false; }
    QmStatus InputOperationP() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationQ() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationR() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationS() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationT() override { return QM_ERR_NOTIMPL; }
    QmStatus InputOperationU() override { return QM_ERR_NOTIMPL; }

private:
    std::int32_t m_nRefCount = 0;
    IQmImageFormat* m_pFormat;
    bool m_bDead = false;
};

class ScriptedFormat : public IQmImageFormat, public virtual CQmClass
{
public:
    ScriptedFormat() : CQmClass(true) { ++g_objects.m_nObjects; }
    ~ScriptedFormat() override { --g_objects.m_nObjects; }

    CQmClass* GetQmClass() override { return this; }
    const SQmClassRecord* GetClassRecord() override { return nullptr; }
    void* QueryInterface(const char* pszInterface) override
    {
        if (std::strcmp(pszInterface, "IQmImageFormat") != 0 || Scripted("interface", 1) == 0) return nullptr;
        AddRef();
        return static_cast<IQmImageFormat*>(this);
    }

    QmStatus GetFormatId(CQmStringA& strId) override
    {
        strId = "TST";
        return Status("GetFormatId");
    }
    QmStatus GetFormatDescription(CQmStringW& strDescription) override
    {
        strDescription = L"A format for tests";
        return Status("GetFormatDescription");
    }
    QmStatus GetFileExtension(CQmStringW& strExtension) override
    {
        strExtension = L".tst";
        return Status("GetFileExtension");
    }
    // With "codecs=1" those too whose files the real module muxes.
    std::uint32_t BuildCodecTable() override { return Scripted("codecs", 0) == 0 ? 2 : 4; }
    QmStatus GetCodecInfo(std::uint32_t uiIndex, SQmCodecInfo* pInfo) override
    {
        const wchar_t* const aCodes[] = {L"ONE", L"TWO", L"NVENC1", L"AMF1"};
        std::wcscpy(pInfo->m_wszCode, aCodes[uiIndex]);
        std::wcscpy(pInfo->m_wszName, uiIndex == 0 ? L"The f\u00EFrst" : L"The second");
        return Status("GetCodecInfo");
    }
    std::uint32_t GetQualityCount() override { return 1; }
    QmStatus GetQualityInfo(std::uint32_t, CQmStringW& strName, std::uint32_t* puiValue, double* pdValue) override
    {
        strName = L"Good";
        *puiValue = 1;
        *pdValue = 0.15;
        return Status("GetQualityInfo");
    }
    QmStatus CreateInputFileForPath(CQmStringW strPath, IQmInputImageFile** ppFile) override
    {
        *ppFile = nullptr;
        DiagOutputExW_hlp("scripted.cpp", 12, 0);
        DiagOutputExW(L"opening %s", strPath.GetString());
        const QmStatus nStatus = Status("CreateInputFileForPath");
        if (nStatus != QM_OK) return nStatus;
        *ppFile = new ScriptedInputFile(this);
        (*ppFile)->AddRef();
        return QM_OK;
    }

    QmStatus SetActiveCodec(std::uint32_t uiIndex) override
    {
        m_uiCodec = uiIndex;
        return Status("SetActiveCodec");
    }
    QmStatus CreateOutputFileForPath(CQmStringW strPath, IQmOutputImageFile** ppFile) override
    {
        *ppFile = nullptr;
        const QmStatus nStatus = Status("CreateOutputFileForPath");
        if (nStatus == QM_OK) *ppFile = MakeScriptedOutput(this, strPath, m_uiCodec);
        return nStatus;
    }

    void SetClassFlag(bool) override {}
    QmStatus GetActiveCodec(std::uint32_t*) override { return QM_ERR_NOTIMPL; }
    QmStatus HasCapability(std::int32_t) override { return QM_ERR_NOTIMPL; }
    QmStatus CheckPixelFormat(std::uint32_t, std::uint32_t, std::uint8_t, std::uint32_t) override
    {
        return QM_ERR_NOTIMPL;
    }
    QmStatus GetPixelFormat(std::uint32_t, std::uint32_t, std::uint8_t*, std::uint32_t*) override
    {
        return QM_ERR_NOTIMPL;
    }
    QmStatus CheckAttributes(const SQmImageAttributes*) override { return QM_ERR_NOTIMPL; }
    QmStatus FillAttributes(SQmImageAttributes*) override { return QM_ERR_NOTIMPL; }
    QmStatus CreateOutputFile(void*, IQmOutputImageFile**) override { return QM_ERR_NOTIMPL; }
    QmStatus OpenOutputFile(void*, IQmOutputImageFile**) override { return QM_ERR_NOTIMPL; }
    QmStatus OpenOutputFileForPath(CQmStringW, IQmOutputImageFile**) override { return QM_ERR_NOTIMPL; }
    QmStatus CreateInputFileFromMemory(const void*, std::uint64_t, IQmInputImageFile**) override
    {
        return QM_ERR_NOTIMPL;
    }
    QmStatus CreateInputFileFromByteArray(CQmByteArray*, IQmInputImageFile**) override { return QM_ERR_NOTIMPL; }
    QmStatus UnusedPathOperationA(CQmStringW) override { return QM_ERR_NOTIMPL; }
    QmStatus UnusedPathOperationB(CQmStringW) override { return QM_ERR_NOTIMPL; }
    QmStatus UnusedOperationA() override { return QM_ERR_NOTIMPL; }
    QmStatus CopyImageFile(const wchar_t*, const wchar_t*, bool, PQmFileProgress, void*, std::uint32_t) override
    {
        return QM_ERR_NOTIMPL;
    }
    QmStatus MoveImageFile(const wchar_t*, const wchar_t*, bool, PQmFileProgress, void*, std::uint32_t) override
    {
        return QM_ERR_NOTIMPL;
    }
    QmStatus RemoveImageFile(const wchar_t*, std::uint32_t) override { return QM_ERR_NOTIMPL; }
    QmStatus GetImageFileSize(const wchar_t*, std::uint64_t*) override { return QM_ERR_NOTIMPL; }
    QmStatus UnusedOperationB() override { return QM_ERR_NOTIMPL; }
    QmStatus UnusedOperationC() override { return QM_ERR_NOTIMPL; }

private:
    std::uint32_t m_uiCodec = 0xFFFFFFFF;
};

}  // namespace

extern "C" QM_SYMBOL_EXPORT IQmInterface* QM_ConstructorForCQmImageFormatMP4(const char* pszFile, unsigned int uiLine)
{
    if (Scripted("factory", 1) == 0) return nullptr;
    return new (pszFile, uiLine) ScriptedFormat;
}
