// The format object: it lists what the module can do and makes the file objects.
#pragma once

#include <cstdint>

#include "hostapi/hostcore.h"
#include "hostapi/iqmimageformat.h"
#include "moduleexport.h"

// Lives as long as the host or one of its file objects holds a reference. As long as there is any format object, Media
// Foundation and the AMF runtime are started. One thread at a time constructs and destroys format objects.
class CQmImageFormatMP4 : public IQmImageFormat, public virtual CQmClass
{
public:
    CQmImageFormatMP4();
    ~CQmImageFormatMP4() override;

    // IQmInterface
    CQmClass* GetQmClass() override;

    // CQmClass
    const SQmClassRecord* GetClassRecord() override;
    void* QueryInterface(const char* pszInterface) override;

    // IQmImageFormat
    void SetClassFlag(bool bFlag) override;
    QmStatus GetFormatId(CQmStringA& strId) override;
    QmStatus GetFormatDescription(CQmStringW& strDescription) override;
    QmStatus GetFileExtension(CQmStringW& strExtension) override;
    std::uint32_t BuildCodecTable() override;
    QmStatus GetCodecInfo(std::uint32_t uiIndex, SQmCodecInfo* pInfo) override;
    QmStatus SetActiveCodec(std::uint32_t uiIndex) override;
    QmStatus GetActiveCodec(std::uint32_t* puiIndex) override;
    std::uint32_t GetQualityCount() override;
    QmStatus GetQualityInfo(std::uint32_t uiIndex, CQmStringW& strName, std::uint32_t* puiValue,
                            double* pdValue) override;
    QmStatus HasCapability(std::int32_t nCapability) override;
    QmStatus CheckPixelFormat(std::uint32_t uiReserved1, std::uint32_t uiReserved2, std::uint8_t uiBits,
                              std::uint32_t uiComponents) override;
    QmStatus GetPixelFormat(std::uint32_t uiReserved1, std::uint32_t uiReserved2, std::uint8_t* puiBits,
                            std::uint32_t* puiComponents) override;
    QmStatus CheckAttributes(const SQmImageAttributes* pAttributes) override;
    QmStatus FillAttributes(SQmImageAttributes* pAttributes) override;
    QmStatus CreateOutputFile(void* pValue, IQmOutputImageFile** ppFile) override;
    QmStatus CreateOutputFileForPath(CQmStringW strPath, IQmOutputImageFile** ppFile) override;
    QmStatus OpenOutputFile(void* pValue, IQmOutputImageFile** ppFile) override;
    QmStatus OpenOutputFileForPath(CQmStringW strPath, IQmOutputImageFile** ppFile) override;
    QmStatus CreateInputFileFromMemory(const void* pData, std::uint64_t uiSize, IQmInputImageFile** ppFile) override;
    QmStatus CreateInputFileFromByteArray(CQmByteArray* pData, IQmInputImageFile** ppFile) override;
    QmStatus CreateInputFileForPath(CQmStringW strPath, IQmInputImageFile** ppFile) override;
    QmStatus UnusedPathOperationA(CQmStringW strPath) override;
    QmStatus UnusedPathOperationB(CQmStringW strPath) override;
    QmStatus UnusedOperationA() override;
    QmStatus CopyImageFile(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bOverwrite, PQmFileProgress pfnProgress,
                           void* pUser, std::uint32_t uiFlags) override;
    QmStatus MoveImageFile(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bOverwrite, PQmFileProgress pfnProgress,
                           void* pUser, std::uint32_t uiFlags) override;
    QmStatus RemoveImageFile(const wchar_t* pwszPath, std::uint32_t uiFlags) override;
    QmStatus GetImageFileSize(const wchar_t* pwszPath, std::uint64_t* puiSize) override;
    QmStatus UnusedOperationB() override;
    QmStatus UnusedOperationC() override;

private:
    void BuildCodecTableIfNeeded();

    std::uint32_t m_uiActiveCodec;    // row of the codec table; 0xFFFFFFFF until the host chooses
    std::uint32_t m_uiFallbackCodec;  // what a refused choice sets; never changes
    std::uint32_t m_uiCodecCount;     // 0xFFFFFFFF until the table is built
    SQmCodecInfo m_aCodecs[256];      // the codec table; rows after the count are empty
};

// The module's factory, which the host finds by this name. Makes a format object without a reference, in memory of the
// host's allocator, which gets pszFile and uiLine. Null when there is no memory.
extern "C" QM_MODULE_EXPORT IQmInterface* QM_ConstructorForCQmImageFormatMP4(const char* pszFile, unsigned int uiLine);
