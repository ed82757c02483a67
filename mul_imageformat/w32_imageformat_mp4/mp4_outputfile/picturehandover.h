// The place where the host's thread leaves a picture and the media source takes it.
#pragma once

#include <atomic>
#include <cstdint>

#include <windows.h>

#include "hostapi/hostpicbase.h"
#include "hostapi/iqmoutputimagefile.h"

// Two YUY2 pictures, however long the file is: the pending one is the newest frame, the handed-over one is the frame
// before it, which the source may be copying. A frame goes over when the next one arrives, since only then its duration
// is known.
//
// The source is given pointers to the public members and keeps them as long as it lives. It waits for m_hFrameReady,
// copies m_picHandover under m_csPicture, resets m_hFrameReady and sets m_hFrameTaken, in this order; when
// m_nEndOfStream isn't 0 it leaves m_hFrameReady set, so that nothing waits for a frame that never comes. All else is
// for the host's thread.
class CPictureHandover
{
public:
    CPictureHandover();
    // Nobody may use the exchange any more, here and in Close.
    ~CPictureHandover();

    CPictureHandover(const CPictureHandover&) = delete;
    CPictureHandover& operator=(const CPictureHandover&) = delete;

    // Makes the pictures for a host's picture and the size it is encoded at, and the events, none of them set. What an
    // earlier call made is given back; m_nEndOfStream stays. QM_ERR_FAIL without memory or events, for a picture whose
    // rows are too short for 24 bits a pixel, and after Close.
    QmStatus Open(const SQmImageAttributes& attrSource, const SQmImageAttributes& attrEncoded);
    void Close();

    // Puts a record around the host's pixels, 24 bits each, at the size they are encoded at. A picture that is short of
    // that size is drawn into the upper left corner of a black one, which holds it until the next call. QM_ERR_FAIL for
    // a picture of another form than Open was told.
    QmStatus Shape(const void* pPixels, const SQmImageAttributes& attrSource, SQmPicBuf& picture);
    // Turns what Shape made into the pending picture, whose former content goes.
    void SetPending(const SQmPicBuf& picture);
    bool IsPending() const { return m_bPending; }

    // Hands the pending picture over, the last one if bLast, and wakes the source.
    void HandOver(bool bLast);
    // No frame comes any more. Wakes the source.
    void EndStream();

    HANDLE m_hFrameReady = nullptr;  // manual-reset events
    HANDLE m_hFrameTaken = nullptr;
    HANDLE m_hSessionStarted = nullptr;  // no concern of the source: set whenever the session tells that it started
    CRITICAL_SECTION m_csPicture;        // guards m_picHandover
    SQmPicBuf m_picHandover;             // 8 bits, 2 components
    std::atomic<std::uint32_t> m_nEndOfStream{0};  // 1: no picture comes after the one handed over

private:
    void CloseEvents();

    SQmPicBuf m_picPending;
    SQmPicBuf m_picPadded;              // 8 bits, 3 components; without pixels where the sizes are the same
    std::uint32_t m_uiSourceWidth = 0;  // in pixels
    std::uint32_t m_uiSourceHeight = 0;
    bool m_bPending = false;  // m_picPending holds a frame
    bool m_bClosed = false;
};
