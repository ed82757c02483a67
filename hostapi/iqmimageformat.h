// What a file-format module implements for the format itself: its name, its codecs, and the making of file objects.
#pragma once

#include <cstdint>

#include "hostapi/hostcore.h"
#include "hostapi/hostplatform.h"

class IQmInputImageFile;
class IQmOutputImageFile;

// One row of a format's codec table, as the host gets it.
struct SQmCodecInfo
{
    std::uint32_t m_uiReserved1;
    std::uint32_t m_uiReserved2;
    wchar_t m_wszCode[16];   // short code
    wchar_t m_wszName[128];  // display name
};

struct SQmEmptyRecord
{
    std::uint64_t m_auiWords[2];
};

// One file format. A creating operation stores an object with one reference for the caller, or null when it fails.
class IQmImageFormat : public virtual IQmInterface
{
public:
    virtual void SetClassFlag(bool bFlag) = 0;
    virtual QmStatus GetFormatId(CQmStringA& strId) = 0;
    virtual QmStatus GetFormatDescription(CQmStringW& strDescription) = 0;
    virtual QmStatus GetFileExtension(CQmStringW& strExtension) = 0;
    virtual std::uint32_t BuildCodecTable() = 0;  // returns the number of codecs
    virtual QmStatus GetCodecInfo(std::uint32_t uiIndex, SQmCodecInfo* pInfo) = 0;
    virtual QmStatus SetActiveCodec(std::uint32_t uiIndex) = 0;
    virtual QmStatus GetActiveCodec(std::uint32_t* puiIndex) = 0;
    virtual std::uint32_t GetQualityCount() = 0;
    virtual QmStatus GetQualityInfo(std::uint32_t uiIndex, CQmStringW& strName, std::uint32_t* puiValue,
                                    double* pdValue) = 0;
    virtual QmStatus HasCapability(std::int32_t nCapability) = 0;
    virtual QmStatus CheckPixelFormat(std::uint32_t uiReserved1, std::uint32_t uiReserved2, std::uint8_t uiBits,
                                      std::uint32_t uiComponents) = 0;
    virtual QmStatus GetPixelFormat(std::uint32_t uiReserved1, std::uint32_t uiReserved2, std::uint8_t* puiBits,
                                    std::uint32_t* puiComponents) = 0;
    virtual QmStatus CheckAttributes(const SQmImageAttributes* pAttributes) = 0;
    virtual QmStatus FillAttributes(SQmImageAttributes* pAttributes) = 0;
    virtual QmStatus CreateOutputFile(void* pValue, IQmOutputImageFile** ppFile) = 0;
    virtual QmStatus CreateOutputFileForPath(CQmStringW strPath, IQmOutputImageFile** ppFile) = 0;
    virtual QmStatus OpenOutputFile(void* pValue, IQmOutputImageFile** ppFile) = 0;
    virtual QmStatus OpenOutputFileForPath(CQmStringW strPath, IQmOutputImageFile** ppFile) = 0;
    virtual QmStatus CreateInputFileFromMemory(const void* pData, std::uint64_t uiSize, IQmInputImageFile** ppFile) = 0;
    virtual QmStatus CreateInputFileFromByteArray(CQmByteArray* pData, IQmInputImageFile** ppFile) = 0;
    virtual QmStatus CreateInputFileForPath(CQmStringW strPath, IQmInputImageFile** ppFile) = 0;
    virtual QmStatus UnusedPathOperationA(CQmStringW strPath) = 0;
    virtual QmStatus UnusedPathOperationB(CQmStringW strPath) = 0;
    virtual QmStatus UnusedOperationA() = 0;
    virtual QmStatus CopyImageFile(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bOverwrite,
                                   PQmFileProgress pfnProgress, void* pUser, std::uint32_t uiFlags) = 0;
    virtual QmStatus MoveImageFile(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bOverwrite,
                                   PQmFileProgress pfnProgress, void* pUser, std::uint32_t uiFlags) = 0;
    virtual QmStatus RemoveImageFile(const wchar_t* pwszPath, std::uint32_t uiFlags) = 0;
    virtual QmStatus GetImageFileSize(const wchar_t* pwszPath, std::uint64_t* puiSize) = 0;
    virtual QmStatus UnusedOperationB() = 0;
    virtual QmStatus UnusedOperationC() = 0;
    virtual void UnusedOperationD() {}
    virtual SQmEmptyRecord* GetEmptyRecord(SQmEmptyRecord* pRecord)
    {
        *pRecord = SQmEmptyRecord{};
        return pRecord;
    }
    virtual void DropString(CQmStringW) {}
};

// The one function that a file-format module exports, by the name "QM_ConstructorFor" and the class. pszFile and
// uiLine go to the host's allocator. Returns the format object's IQmInterface view with a count of 0, or null.
using PQmModuleConstructor = IQmInterface* (*)(const char* pszFile, unsigned int uiLine);
