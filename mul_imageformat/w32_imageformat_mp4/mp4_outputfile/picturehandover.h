// The place where the host's thread leaves a picture and the media source takes it.
#pragma once

#include <atomic>
#include <cstdint>

#include <windows.h>

#include "hostapi/hostpicbase.h"
#include "hostapi/iqmoutputimagefile.h"

// The host's pixels as a picture of the size that they are encoded at: read where they lie when they have that size,
// else drawn into the upper left corner of a black picture of that size, which lives as long as this object.
class CEncodedPicture
{
public:
    CEncodedPicture();
    ~CEncodedPicture();

    CEncodedPicture(const CEncodedPicture&) = delete;
    CEncodedPicture& operator=(const CEncodedPicture&) = delete;

    // pPixels: rows of B, G, R, attrSource.m_uiWidthBytes apart. QM_ERR_FAIL without memory, and for a source that is
    // larger than the encoded picture.
    QmStatus Take(const void* pPixels, const SQmImageAttributes& attrSource, const SQmImageAttributes& attrEncoded);
    const SQmPicBuf& Get() const { return m_picture; }

private:
    SQmPicBuf m_picture;
    SQmPicBuf m_picPadded;  // without pixels where the sizes are the same
};

// Two YUY2 pictures, however long the file is: the pending one is the newest frame, the handed-over one is the frame
// before it, which the source may be copying. A frame goes over when the next one arrives, since only then its duration
// is known.
//
// The source is given pointers to the public members and keeps them as long as it lives. It waits for m_hFrameReady,
// copies m_picHandover under m_csPicture, resets m_hFrameReady and sets m_hFrameTaken, in this order; when
// m_nEndOfStream isn't 0 it leaves m_hFrameReady set, so that nothing waits for a frame that never comes. The events
// may be set from any thread; all else is for the host's.
class CPictureHandover
{
public:
    CPictureHandover();
    // Nobody may use the exchange any more, here and in Close.
    ~CPictureHandover();

    CPictureHandover(const CPictureHandover&) = delete;
    CPictureHandover& operator=(const CPictureHandover&) = delete;

    // Makes both pictures, of that many pixels, and the events, none of them set; those of an earlier call are given
    // back. m_nEndOfStream stays. QM_ERR_FAIL without memory or events, and after Close.
    QmStatus Open(std::uint32_t uiWidth, std::uint32_t uiHeight);
    void Close();

    // Makes a picture of the size that Open was told the pending one, whose former content goes.
    void SetPending(const SQmPicBuf& picture);
    bool IsPending() const { return m_bPending; }

    // Hands the pending picture over, the last one if bLast, and wakes the source.
    void HandOver(bool bLast);
    // No frame comes any more. Wakes the source.
    void EndStream();
    void WakeSource();

    HANDLE m_hFrameReady = nullptr;  // manual-reset events
    HANDLE m_hFrameTaken = nullptr;
    HANDLE m_hSessionStarted = nullptr;  // no concern of the source: set whenever the session tells that it started
    CRITICAL_SECTION m_csPicture;        // guards m_picHandover
    SQmPicBuf m_picHandover;             // 8 bits, 2 components
    std::atomic<std::uint32_t> m_nEndOfStream{0};  // 1: no picture comes after the one handed over

private:
    void CloseEvents();

    SQmPicBuf m_picPending;
    bool m_bPending = false;  // m_picPending holds a frame
    bool m_bClosed = false;
};
