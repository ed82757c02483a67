// One MP4 file that the host reads: a time loop of 24-bit pictures, each found by its index.
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "common/modulestate.h"
#include "hostapi/hostcore.h"
#include "hostapi/hostmeta.h"
#include "hostapi/iqmimageformat.h"
#include "hostapi/iqminputimagefile.h"
#include "hostapi/iqmoutputimagefile.h"
#include "mp4filesimpl/framereader.h"
#include "mp4filesimpl/readgraph.h"

// The file is opened by the first operation that needs it, and nothing is decoded before the first frame is asked for.
// The host calls from one thread at a time.
//
// Only a file given by its path can be opened. The other two forms exist, and their opening fails.
class CQmMP4InputFile : public IQmInputImageFile
{
public:
    // Each form counts a reference to the format object for as long as the new object lives.
    CQmMP4InputFile(IQmImageFormat* pFormat, CQmByteArray* pByteArray);
    CQmMP4InputFile(IQmImageFormat* pFormat, const void* pMemory, std::uint64_t uiMemorySize);
    // bWrittenFile: the file is still being written, so that frames are refused. pOutputFile is not kept.
    CQmMP4InputFile(IQmImageFormat* pFormat, CQmStringW strPath, bool bWrittenFile, IQmOutputImageFile* pOutputFile);
    ~CQmMP4InputFile() override;

    // The reader of a file that is still being written, without a reference yet. Null when there is no memory for it.
    static IQmInputImageFile* MakeForWrittenFile(IQmImageFormat* pFormat, const CQmStringW& strPath,
                                                 IQmOutputImageFile* pOutputFile);

    CQmMP4InputFile(const CQmMP4InputFile&) = delete;
    CQmMP4InputFile& operator=(const CQmMP4InputFile&) = delete;

    std::int32_t AddRef() override;
    // Gives the count as it was before, 0 when the object is gone.
    std::int32_t Release() override;
    IQmImageFormat* GetFormat() override;
    QmStatus GetPictureMetadata(std::uint32_t uiIndex, SQmPictureMetadata& metadata, std::uint32_t uiValue) override;
    QmStatus GetExperiment(SQmExperiment& experiment) override;
    QmStatus InputOperationA() override;
    QmStatus InputOperationB() override;
    QmStatus InputOperationC() override;
    QmStatus InputOperationD() override;
    QmStatus GetPictureFormat(std::uint32_t* puiWidth, std::uint32_t* puiHeight, std::uint32_t* puiBits,
                              std::uint32_t* puiComponents) override;
    QmStatus HasCapability(std::int32_t nCapability) override;
    QmStatus GetImageAttributes(SQmImageAttributes* pAttributes) override;
    QmStatus InputOperationE() override;
    QmStatus InputOperationF() override;
    QmStatus InputOperationG() override;
    QmStatus InputOperationH() override;
    QmStatus InputOperationI() override;
    QmStatus InputOperationJ() override;
    QmStatus GetPreviewBitmap(std::uint32_t* puiWidth, std::uint32_t* puiHeight, void* pBuffer, void* pReserved,
                              bool bAutoContrast, void* pPass1, void* pPass2) override;
    QmStatus ReadFirstFrame(void* pBuffer, void* pPass1, void* pPass2) override;
    QmStatus ReadFrame(std::uint32_t uiIndex, void* pBuffer, void* pPass1, void* pPass2) override;
    QmStatus InputOperationK() override;
    QmStatus ReadFrameTile(std::uint32_t uiIndex, std::uint32_t uiValue1, std::uint32_t uiValue2, std::uint32_t uiLeft,
                           std::uint32_t uiTop, std::uint32_t uiWidth, std::uint32_t uiHeight, void* pBuffer,
                           std::uint32_t uiValue3, std::uint32_t uiValue4, void* pPass1, void* pPass2) override;
    QmStatus InputOperationL(void** ppCleared) override;
    QmStatus InputOperationM() override;
    QmStatus InputOperationN() override;
    bool InputOperationO() override;
    QmStatus GetCacheItem(const wchar_t* pwszName, CQmByteArray* pData) override;
    QmStatus InputOperationP() override;
    QmStatus InputOperationQ() override;
    QmStatus InputOperationR() override;
    QmStatus InputOperationS() override;
    QmStatus InputOperationT() override;
    QmStatus InputOperationU() override;

protected:
    QmStatus OpenGraph();
    HRESULT MakeGraphs();
    void OpenIfNeeded();
    QmStatus RequestFrame(std::uint32_t uiIndex, void* pBuffer);
    QmStatus FindFileDate();

    CModuleRuntimeHold m_runtimeHold;       // outlasts the graph, also when the format object goes first
    CQmByteArray m_Data;                    // empty; what the forms without an array of the caller's point to
    std::atomic<std::int32_t> m_nRefCount;  // starts at 0
    IQmImageFormat* m_pFormat;              // one reference
    CQmStringW m_strPath;                   // empty in the forms without a path
    IQmOutputImageFile* m_pOutputFile;      // null; nothing sets it
    bool m_bWrittenFile;                    // the file is still being written
    std::atomic<bool> m_bStop;              // the object is closing; never cleared again
    CQmByteArray* m_pByteArray;             // stored, not read
    const void* m_pMemory;                  // stored, not read
    std::uint64_t m_uiMemorySize;           // stored, not read
    SQmImageAttributes m_Attributes;        // all zero until the file is open
    bool m_bOpen;                           // m_Attributes is valid
    double m_dJulianDay;                    // of the file's last writing; -1.0 until found
    // Start of each frame in milliseconds. Fixed once the file is open, and empty after an open that failed.
    std::vector<std::uint64_t> m_vFrameTimesMs;
    CReadGraph m_Graph;     // its source stays after a failed open, which then isn't tried again
    CFrameReader m_Reader;  // reads the frames out of m_Graph
};
