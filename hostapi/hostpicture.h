// The host library `hostpicture`: resampling of whole pictures.
#pragma once

#include "hostapi/hostpicbase.h"

class QM_HOSTPICTURE CQmPicBufAPI
{
public:
    // Resamples pSrc to the size of pDst, which must have the same bits and components and pixels of its own.
    // uiMode 0 takes the nearest pixel, 1 interpolates linearly, 2 averages over the area, 3 takes area averages when
    // shrinking and linear interpolation when enlarging. QM_ERR_RANGE when the forms don't match.
    static QmStatus Stretch(SQmPicBuf* pDst, const SQmPicBuf* pSrc, unsigned int uiMode);
};
