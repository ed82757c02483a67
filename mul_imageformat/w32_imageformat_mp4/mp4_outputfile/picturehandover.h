// The place where the host's thread leaves a picture and the media source takes it.
#pragma once

#include <atomic>
#include <cstdint>

#include <windows.h>

#include "hostapi/hostpicbase.h"
#include "hostapi/qmstatus.h"

// Two YUY2 pictures, however long the file is: the pending one is the newest frame, the handed-over one is the frame
// before it, which the source may be copying. A frame goes over when the next one arrives, since only then its duration
// is known.
//
// The source is given pointers to the public members but m_hSessionStarted, and keeps them as long as it lives. It waits
// for m_hFrameReady, copies m_picHandover and m_dSampleTime under m_csPicture, resets m_hFrameReady and sets
// m_hFrameTaken, in this order; when m_nEndOfStream isn't 0 it leaves m_hFrameReady set, so that nothing waits for a
// frame that never comes. m_hSourceStarted is set as long as the source is started. The events may be set from any
// thread; all else is for the host's.
class CPictureHandover
{
public:
    CPictureHandover();
    // Precondition: no other thread uses this object. The same holds for Close.
    ~CPictureHandover();

    CPictureHandover(const CPictureHandover&) = delete;
    CPictureHandover& operator=(const CPictureHandover&) = delete;

    // Makes both pictures, of that many pixels, and the events, none of them set; those of an earlier call are closed.
    // m_nEndOfStream stays. QM_ERR_FAIL without memory or events, and after Close.
    QmStatus Open(std::uint32_t uiWidth, std::uint32_t uiHeight);
    void Close();

    // Overwrites the pending picture. picture has the size that Open was called with.
    void SetPending(const SQmPicBuf& picture);
    bool IsPending() const { return m_bPending; }

    // Hands the pending picture over with its duration in milliseconds, and wakes the source. bLast: it is the last
    // one.
    void HandOver(double dSampleTime, bool bLast);
    // No frame comes after the one handed over. Wakes the source.
    void EndStream();
    void WakeSource();

    HANDLE m_hFrameReady = nullptr;  // manual-reset events
    HANDLE m_hFrameTaken = nullptr;
    HANDLE m_hSourceStarted = nullptr;
    HANDLE m_hSessionStarted = nullptr;  // not for the source: set whenever the session reports that it has started
    CRITICAL_SECTION m_csPicture;        // guards m_picHandover and m_dSampleTime
    SQmPicBuf m_picHandover;             // 8 bits, 2 components
    double m_dSampleTime = 1.0;          // the handed-over picture's duration in milliseconds
    std::atomic<std::uint32_t> m_nEndOfStream{0};  // 1: no picture comes after the one handed over

private:
    void CloseEvents();

    SQmPicBuf m_picPending;
    bool m_bPending = false;  // m_picPending holds a frame
    bool m_bClosed = false;
};
