// The end of a reading graph: takes every sample that the session delivers, and keeps a small store of decoded frames.
#pragma once

#include <atomic>
#include <cstdint>
#include <list>

#include <windows.h>

#include <mfidl.h>

#include "hostapi/hostpicbase.h"

// A decoded frame. Pixels that are null stand for a picture that could not be had.
struct SQmGrabbedFrame
{
    SQmPicBuf m_Picture;
    std::uint64_t m_uiFrameIndex;
};

// How far a play has come to the pause that the store asks for when it has enough. One play is paused once: a second
// pause would reach the session when the next play is under way already.
enum class EPauseState
{
    NotWanted,
    Wanted,
    Asked
};

// Works in one of two modes. In counting mode it adds up the durations of the samples and looks at nothing else. In
// frame mode it numbers the samples, upwards from the start of the current play, turns them into 24-bit pictures and
// stores them; time stamps are not looked at.
//
// Three threads meet here in frame mode: the session's, which delivers, the worker's, which sets up plays, and the
// host's, which asks for frames. Whoever touches the request, the window or the store holds m_Lock. The store's own
// operations don't take it.
class SampleGrabberCB : public IMFSampleGrabberSinkCallback
{
public:
    // Gives a grabber with one reference. E_OUTOFMEMORY, or E_FAIL when the system has no events left.
    static HRESULT Create(SampleGrabberCB** ppGrabber);

    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    // The clock is of no concern here.
    STDMETHODIMP OnClockStart(MFTIME hnsSystemTime, LONGLONG llClockStartOffset) override;
    STDMETHODIMP OnClockStop(MFTIME hnsSystemTime) override;
    STDMETHODIMP OnClockPause(MFTIME hnsSystemTime) override;
    STDMETHODIMP OnClockRestart(MFTIME hnsSystemTime) override;
    STDMETHODIMP OnClockSetRate(MFTIME hnsSystemTime, float flRate) override;
    STDMETHODIMP OnSetPresentationClock(IMFPresentationClock* pPresentationClock) override;

    // One sample. In frame mode YUY2 with rows rounded up to 32 bytes; a shorter one leaves a frame without pixels.
    STDMETHODIMP OnProcessSample(REFGUID guidMajorMediaType, DWORD dwSampleFlags, LONGLONG llSampleTime,
                                 LONGLONG llSampleDuration, const BYTE* pSampleBuffer, DWORD dwSampleSize) override;
    STDMETHODIMP OnShutdown() override;

    // --- the frame store (framestore.cpp) ---

    // Says what the samples that come from now on are: frames from uiStart on, up to uiLast at most, of a picture of
    // uiWidth x uiHeight; a width of 0xFFFFFFFF means counting mode. Gives whether the frame uiFrame and all from
    // uiStart up to but not including uiEnd are stored.
    bool SetWindow(std::uint64_t uiFrame, std::uint64_t uiStart, std::uint64_t uiEnd, std::uint64_t uiLast,
                   std::uint32_t uiWidth, std::uint32_t uiHeight);

    // The stored frame of that index, or null. The store keeps it; a trim takes its pixels and leaves the record.
    SQmGrabbedFrame* FindFrame(std::uint64_t uiIndex) const;

    // Whether the frame is one of the newest uiWindow stored ones, and more frames are to come behind the newest.
    bool IsNearTail(std::uint32_t uiIndex, std::uint32_t uiWindow, std::uint32_t uiLast) const;

    // Frees the oldest frames until no more than uiKeep are stored.
    void ClearFrames(std::size_t uiKeep);

    // If the requested frame is stored, drops the frames that are older than it in the store and lower in index.
    void TrimFrames();

    // Requests count as sequential when they stay on a frame or step to the next one; more is decoded ahead for them.
    std::uint32_t GetWindowSize() const;

protected:
    SampleGrabberCB();
    virtual ~SampleGrabberCB();

private:
    HRESULT MakeEvents();
    HRESULT CountSample(LONGLONG llSampleDuration);
    void StoreSample(const BYTE* pSampleBuffer, DWORD dwSampleSize);
    bool WantsMoreSamples();
    SQmGrabbedFrame* FindOrAppendFrame(std::uint64_t uiIndex);
    static SQmGrabbedFrame* AllocateFrameRecord();

    std::atomic<ULONG> m_nRefCount;

public:
    CRITICAL_SECTION m_Lock;
    std::list<SQmGrabbedFrame*> m_lstFrames;  // in the order of decoding; owns the records, of which one may be null
    std::list<LONGLONG> m_lstSampleTimes;     // running sums of sample durations, 100 ns, the first 0
    HANDLE m_hFrameReady;                     // auto-reset: the requested frame is there, or can't be had
    HANDLE m_hPauseRequest;                   // auto-reset: m_ePause says Wanted, or m_bStop is set
    std::uint32_t m_uiWidth;                  // 0xFFFFFFFF: counting mode
    std::uint32_t m_uiHeight;
    std::uint64_t m_uiWindowStart;         // first frame of the current play, or the oldest one still of use
    std::uint64_t m_uiWindowEnd;           // stored, not read
    std::uint64_t m_uiLastFrame;           // highest index that the current play may reach
    std::uint64_t m_uiNextFrame;           // index that the next sample gets
    std::uint64_t m_uiDelivered;           // index that the last sample got
    std::uint64_t m_uiRequested;           // the frame that the host wants
    std::uint64_t m_uiPrevRequested;       // the one that it wanted before
    IMFMediaSession* m_pSession;           // not referenced
    const std::atomic<bool>* m_pStopFlag;  // m_bStop of the input file; null in counting mode
    bool m_bNV12;                          // samples are NV12 and don't become pictures
    std::atomic<std::int32_t> m_nRunning;  // the session plays
    EPauseState m_ePause;                  // of the current play
    std::uint64_t m_uiRequestNumber;       // of the current request, from 1; 0 before the first
    bool m_bRequestFailed;                 // the frame of the current request can't be had
    bool m_bWorkerEnded;                   // nobody will set up another play
};

// Holds the lock of a grabber.
class CGrabberLock
{
public:
    explicit CGrabberLock(SampleGrabberCB* pGrabber) : m_pLock(&pGrabber->m_Lock) { EnterCriticalSection(m_pLock); }
    ~CGrabberLock() { Release(); }
    CGrabberLock(const CGrabberLock&) = delete;
    CGrabberLock& operator=(const CGrabberLock&) = delete;

    void Release()
    {
        if (m_pLock != nullptr) LeaveCriticalSection(m_pLock);
        m_pLock = nullptr;
    }

private:
    CRITICAL_SECTION* m_pLock;
};
