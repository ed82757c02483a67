// What a file-format module implements for a file that the host writes.
#pragma once

#include <cstdint>

#include "hostapi/hostcore.h"
#include "hostapi/hostmeta.h"
#include "hostapi/iqminputimagefile.h"

class IQmImageFormat;

// One image file being written. The host calls it from one thread at a time: SetImageAttributes, then for each frame
// SetFrameTime or SetPictureMetadata and WriteNextFrame, then CloseOutput or the last Release.
//
// Operations without a descriptive name belong to other formats.
class IQmOutputImageFile
{
public:
    virtual ~IQmOutputImageFile() = default;

    virtual std::int32_t AddRef() = 0;
    virtual std::int32_t Release() = 0;
    // Finishes the file.
    virtual QmStatus CloseOutput() = 0;
    virtual QmStatus OutputOperationA() = 0;
    virtual QmStatus OutputOperationB() = 0;
    // The format object, with a reference added.
    virtual IQmImageFormat* GetFormat() = 0;
    virtual QmStatus SetPictureMetadata(std::uint32_t uiIndex, const SQmPictureMetadata* pMetadata) = 0;
    virtual QmStatus OutputOperationC() = 0;
    virtual QmStatus OutputOperationD() = 0;
    virtual QmStatus OutputOperationE() = 0;
    virtual QmStatus OutputOperationF() = 0;
    virtual QmStatus OutputOperationG() = 0;
    virtual QmStatus SetImageAttributes(const SQmImageAttributes* pAttributes) = 0;
    virtual QmStatus OutputOperationH() = 0;
    virtual QmStatus SetFrameTime(double dTimeMs) = 0;
    virtual QmStatus OutputOperationI() = 0;
    virtual QmStatus OutputOperationJ() = 0;
    virtual QmStatus OutputOperationK() = 0;
    virtual QmStatus OutputOperationL() = 0;
    // pPixels: the pixels of one frame, in rows at the pitch that the attributes give.
    virtual QmStatus WriteNextFrame(const void* pPixels) = 0;
    virtual QmStatus WriteFrame(std::uint32_t uiIndex, const void* pPixels, void* pPass1, void* pPass2) = 0;
    virtual QmStatus WriteFrameForward(std::uint32_t uiIndex, const void* pPixels, void* pPass1, void* pPass2)
    {
        return WriteFrame(uiIndex, pPixels, pPass1, pPass2);
    }
    virtual QmStatus OutputOperationM() = 0;
    virtual QmStatus OutputOperationN() = 0;
    virtual QmStatus OutputOperationO() = 0;
    virtual QmStatus OutputOperationP() = 0;
    virtual QmStatus OutputOperationQ() = 0;
    virtual QmStatus OutputOperationR() = 0;
    virtual QmStatus OutputOperationS() = 0;
    // A reader over the file being written; *ppReader has one reference.
    virtual QmStatus GetWrittenFileReader(void* pValue, IQmInputImageFile** ppReader) = 0;
    virtual QmStatus OutputOperationT() = 0;
    virtual QmStatus OutputOperationU() { return QM_ERR_NOTIMPL; }
};
