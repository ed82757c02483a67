// The host library `hostpicbase`: picture buffers, contrast measurement, look-up tables, true-colour conversion.
//
// Pictures are rows of pixels, top row first, components of a pixel side by side: B, G, R for three components.
// Components of 8 bits take a byte, of 9 to 16 bits two bytes in machine order.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hostapi/qmexport.h"
#include "hostapi/qmstatus.h"

// One picture in memory. A plain record: it is zeroed by hand, then Init-ed, then Reinit-ed. Copies of the record may
// have m_uiWidthBytes and m_pData pointed elsewhere; only the record that Reinit filled is given to Free.
struct SQmPicBuf
{
    std::uint32_t m_uiWidth;
    std::uint32_t m_uiHeight;
    std::uint32_t m_uiWidthBytes;  // row pitch
    std::uint8_t m_uiBits;         // per component
    std::uint32_t m_uiComponents;
    std::uint64_t m_uiSize;  // bytes of the pixel block: m_uiHeight rows
    unsigned char* m_pData;  // the pixels, which Free frees
};

struct SQmLutParam;  // opaque to modules
class CQmRangeMask;  // opaque to modules

// Look-up tables from component values to 8-bit display values. Opaque to modules, but for the word at its head.
struct QM_HOSTPICBASE SQmLut
{
    SQmLut();
    ~SQmLut();
    SQmLut(const SQmLut&) = delete;
    SQmLut& operator=(const SQmLut&) = delete;

    // Frees the tables. Harmless when there are none.
    static void Free(SQmLut& lut);

    std::uint64_t m_uiHead;  // the state of the LUT; 0 means that no range was measured
    std::uint32_t m_uiComponents;
    std::uint32_t m_uiBits;
    double m_adLow[4];  // measured range per component, in component values
    double m_adHigh[4];
    unsigned char* m_pTables;  // m_uiComponents tables of 2^m_uiBits entries
};

class QM_HOSTPICBASE SQmPicBufAPI_Base
{
public:
    // Makes a zeroed record ready.
    static QmStatus Init(SQmPicBuf* pPic);

    // Allocates the pixels for a shape and frees those that the record had. uiPitch 0 means rows rounded up to 4 bytes.
    // bScratch true leaves the pixels unset, for pictures that are written whole before they are read; false makes them
    // zero. The block begins at a multiple of 64 bytes, and 64 bytes after its end may be read and written. QM_ERR_FAIL
    // when there is no memory or the size is too large, QM_ERR_RANGE for bits or components that no picture has; the
    // record is then all zero.
    static QmStatus Reinit(SQmPicBuf* pPic, std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiPitch,
                           std::uint32_t uiBits, std::uint32_t uiComponents, bool bScratch);

    // Frees the pixels. Harmless when called twice for one record.
    static QmStatus Free(SQmPicBuf* pPic);

    // Copies pixels, row by row, between pictures of one shape. QM_ERR_RANGE when the shapes differ.
    static QmStatus Copy(SQmPicBuf* pDst, const SQmPicBuf* pSrc);

    // Bytes from row to row: the pixels' bytes, rounded up to uiAlignment (a power of two). 0 when they don't fit 32
    // bits or no picture has such pixels.
    static std::uint32_t CalcWidthBytes(std::uint32_t uiWidth, std::uint32_t uiBits, std::uint32_t uiComponents,
                                        std::uint32_t uiAlignment);

    // Measures the range of each component, leaving out dLow of the darkest and dHigh of the brightest values
    // (fractions of all pixels, rounded down to whole ones), and stores it in pLut. bLinkComponents gives all
    // components the widest range, so that hues stay; bMonotone false is the only form. pParam is null. QM_ERR_RANGE,
    // with pLut as it was, for fractions or a picture that nothing can be measured with.
    static QmStatus GetAutoContrast(SQmLutParam* pParam, SQmLut* pLut, SQmPicBuf* pPic, double dLow, double dHigh,
                                    bool bLinkComponents, bool bMonotone);

    // Builds the display tables: the range of pSource stretched over 0 to 255, or the whole range of uiBits when
    // pSource has none or one of a single value. bBuild false takes the range over and builds no tables. pSource may be
    // null, or pDisplay itself; pParam and pMask are null. QM_ERR_RANGE when the range is one of other bits.
    static QmStatus CreateLutsRGB(SQmLut* pDisplay, SQmLutParam* pParam, std::uint32_t uiBits, SQmLut* pSource,
                                  CQmRangeMask* pMask, bool bBuild);
};

class QM_HOSTPICBASE CQmPicMemAPI_Base
{
public:
    // Turns uiPixelCount pixels in rows of uiWidth into 24-bit B, G, R through the display tables of pLut. One
    // component becomes grey, a fourth is dropped. Source and target rows have pitches of their own; what pads the
    // target's rows isn't touched. QM_ERR_RANGE for a form that isn't supported.
    static QmStatus ConvertToTrueColor(void* pDst, std::uint32_t uiDstWidthBytes, const void* pSrc,
                                       std::uint32_t uiComponents, std::uint32_t uiBits, std::uint32_t uiSrcWidthBytes,
                                       std::uint32_t uiWidth, std::uint64_t uiPixelCount, const SQmLut* pLut);

    // Draws a source picture into the region of a target picture that begins at (uiLeft, uiTop) and has the size
    // uiDstRegionWidth x uiDstRegionHeight, resampled when the sizes differ. Pixels outside the region keep their
    // values. uiMode as CQmPicBufAPI::Stretch; bMirror (left to right) and bFlip (top to bottom) turn the source over.
    // Source and target mustn't overlap. QM_ERR_RANGE when the region reaches beyond the target.
    static QmStatus StretchDisplay(void* pDst, std::uint32_t uiDstWidth, std::uint32_t uiDstHeight,
                                   std::uint32_t uiComponents, std::uint32_t uiDstWidthBytes, std::uint32_t uiBits,
                                   std::uint32_t uiDstRegionWidth, std::uint32_t uiDstRegionHeight,
                                   std::uint32_t uiLeft, std::uint32_t uiTop, const void* pSrc,
                                   std::uint32_t uiSrcWidth, std::uint32_t uiSrcHeight, std::uint32_t uiSrcWidthBytes,
                                   std::uint32_t uiMode, bool bMirror, bool bFlip);
};
