// The host's pixels on their way into a conversion.
#pragma once

#include "hostapi/hostpicbase.h"
#include "mp4_outputfile/encoderbackend.h"

// The host's pixels as a 24-bit picture of the size that is encoded. They are read where they lie when they have that
// size, else drawn into the upper left corner of a black picture of that size, which lives as long as this object.
class CRawPicture
{
public:
    CRawPicture();
    ~CRawPicture();

    CRawPicture(const CRawPicture&) = delete;
    CRawPicture& operator=(const CRawPicture&) = delete;

    // QM_ERR_FAIL without memory, and for a source that is larger than the encoded picture.
    QmStatus Take(const SHostPicture& picture);
    const SQmPicBuf& Get() const { return m_picture; }

private:
    SQmPicBuf m_picture;
    SQmPicBuf m_picPadded;  // without pixels where the sizes are the same
};
