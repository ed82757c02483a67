// What a file-format module implements for a file that the host reads.
#pragma once

#include <cstdint>

#include "hostapi/hostcore.h"
#include "hostapi/hostmeta.h"

class IQmImageFormat;

// One image file, open for reading. The host calls it from one thread at a time.
//
// Operations without a descriptive name belong to other formats. A format that has no use for one returns
// QM_ERR_NOTSUPPORTED or QM_ERR_NOTIMPL.
class IQmInputImageFile
{
public:
    virtual ~IQmInputImageFile() = default;

    virtual std::int32_t AddRef() = 0;  // returns the new count
    virtual std::int32_t Release() = 0;
    // The format object, with a reference added.
    virtual IQmImageFormat* GetFormat() = 0;
    virtual QmStatus GetPictureMetadata(std::uint32_t uiIndex, SQmPictureMetadata& metadata, std::uint32_t uiValue) = 0;
    virtual QmStatus GetExperiment(SQmExperiment& experiment) = 0;
    virtual QmStatus InputOperationA() = 0;
    virtual QmStatus InputOperationB() = 0;
    virtual QmStatus InputOperationC() = 0;
    virtual QmStatus InputOperationD() = 0;
    virtual QmStatus GetPictureFormat(std::uint32_t* puiWidth, std::uint32_t* puiHeight, std::uint32_t* puiBits,
                                      std::uint32_t* puiComponents) = 0;
    virtual QmStatus HasCapability(std::int32_t nCapability) = 0;
    virtual QmStatus GetImageAttributes(SQmImageAttributes* pAttributes) = 0;
    virtual QmStatus InputOperationE() = 0;
    virtual QmStatus InputOperationF() = 0;
    virtual QmStatus InputOperationG() = 0;
    virtual QmStatus InputOperationH() = 0;
    virtual QmStatus InputOperationI() = 0;
    virtual QmStatus InputOperationJ() = 0;
    // A 24-bit picture of the first frame, *puiWidth x *puiHeight, in pBuffer, whose size isn't checked. With pBuffer
    // null it only reports the native size. pReserved isn't used; pPass1 and pPass2 are passed through.
    virtual QmStatus GetPreviewBitmap(std::uint32_t* puiWidth, std::uint32_t* puiHeight, void* pBuffer, void* pReserved,
                                      bool bAutoContrast, void* pPass1, void* pPass2) = 0;
    virtual QmStatus ReadFirstFrame(void* pBuffer, void* pPass1, void* pPass2) = 0;
    // Copies a frame to pBuffer, which has height x row pitch bytes as GetImageAttributes reports them.
    virtual QmStatus ReadFrame(std::uint32_t uiIndex, void* pBuffer, void* pPass1, void* pPass2) = 0;
    virtual QmStatus InputOperationK() = 0;
    virtual QmStatus ReadFrameTile(std::uint32_t uiIndex, std::uint32_t uiValue1, std::uint32_t uiValue2,
                                   std::uint32_t uiLeft, std::uint32_t uiTop, std::uint32_t uiWidth,
                                   std::uint32_t uiHeight, void* pBuffer, std::uint32_t uiValue3,
                                   std::uint32_t uiValue4, void* pPass1, void* pPass2) = 0;
    virtual QmStatus InputOperationL(void** ppCleared) = 0;
    virtual QmStatus InputOperationM() = 0;
    virtual QmStatus InputOperationN() = 0;
    virtual bool InputOperationO() = 0;
    // A named block of bytes that the host may keep for the file.
    virtual QmStatus GetCacheItem(const wchar_t* pwszName, CQmByteArray* pData) = 0;
    virtual QmStatus InputOperationP() = 0;
    virtual QmStatus InputOperationQ() = 0;
    virtual QmStatus InputOperationR() = 0;
    virtual QmStatus InputOperationS() = 0;
    virtual QmStatus InputOperationT() = 0;
    virtual QmStatus InputOperationU() = 0;
    virtual void InputOperationV() {}
};
