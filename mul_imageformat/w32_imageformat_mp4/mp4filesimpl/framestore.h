// A small store of decoded frames, and what the threads of a reader agree on: which frame the host wants, and what the
// session plays.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <vector>

#include <windows.h>

#include <mfidl.h>

#include "common/criticalsection.h"
#include "hostapi/hostpicbase.h"
#include "hostapi/qmstatus.h"

// A decoded frame. Null pixels stand for a picture that can't be delivered.
struct SQmGrabbedFrame
{
    SQmPicBuf m_Picture;
    std::uint64_t m_uiFrameIndex;
};

// What the samples of the current play are: the arguments of SetWindow.
struct SFrameWindow
{
    std::uint64_t m_uiStart;
    std::uint64_t m_uiEnd;
    std::uint64_t m_uiLast;
    std::uint32_t m_uiWidth;
    std::uint32_t m_uiHeight;
};

// How the session comes to the first sample of a play.
enum class EPlayStart
{
    Resume,    // it continues where it was paused
    Position,  // it starts at the time of that sample
    Seek       // likewise, and flushes what it has decoded
};

struct SPlay
{
    bool m_bKeepStored;  // continues after the newest stored frame
    EPlayStart m_eStart;
    std::uint64_t m_uiStart;     // index of the first sample
    std::uint64_t m_uiKeepFrom;  // samples before this one are numbered and dropped
};

// The store as the worker finds it when the session is at rest.
struct SRestingStore
{
    std::uint64_t m_uiRequested;
    std::uint64_t m_uiRequestNumber;  // of the current request, from 1; 0 before the first
    bool m_bStored;                   // the requested frame is stored
    bool m_bNearTail;                 // it is one of the newest, and more frames are to come
    std::uint64_t m_uiNewest;         // index of the newest stored frame, if m_bNearTail
    std::uint64_t m_uiNextFrame;      // index that the next sample would have got
    bool m_bWalksBack;                // the last requests stepped back by one frame each
    std::uint32_t m_uiWindow;         // as GetWindowSize
};

// What the worker decides then.
struct SPlayDecision
{
    enum class EKind
    {
        Rest,    // nothing is to be played
        Refuse,  // the requested frame can't be delivered
        Play
    };
    EKind m_eKind;
    SPlay m_Play;  // of a Play
};

// Works in one of two modes. In counting mode it adds up the durations of the samples and looks at nothing else. In
// frame mode it numbers the samples, upwards from the start of the current play, turns them into 24-bit pictures and
// stores them. Time stamps are not looked at.
//
// Three threads use it in frame mode: the session's delivers samples, the worker begins plays, and the host's asks for
// frames. Each operation takes the store's lock, and holds it to its end unless it waits.
class CFrameStore
{
public:
    // Bytes of pixels that a store holds at most. It holds two pictures of any size, also if they are more than that.
    static constexpr std::uint64_t MOST_PIXEL_BYTES = std::uint64_t{2} << 30;

    explicit CFrameStore(std::uint64_t uiMostPixelBytes = MOST_PIXEL_BYTES);
    ~CFrameStore();
    CFrameStore(const CFrameStore&) = delete;
    CFrameStore& operator=(const CFrameStore&) = delete;

    // To be called once, before everything else. E_FAIL when the system has no events left.
    HRESULT MakeEvents();

    // --- samples ---

    // Connects the session whose samples come here, and the flag that says that the input file is closing; both are
    // not counted. bNV12: the samples are NV12 and don't become pictures.
    void Connect(IMFMediaSession* pSession, std::atomic<bool>* pStopFlag, bool bNV12);
    // Samples that are still on their way find neither session nor flag from now on.
    void Disconnect();

    // One sample. In frame mode it is YUY2 with rows rounded up to 32 bytes; a shorter one leaves a frame without
    // pixels, whose requests fail. A sample is numbered and not stored when the store holds its most pixels, or when
    // there is no memory for this one. Its frame comes with another play. E_OUTOFMEMORY in counting mode when the
    // duration can't be kept.
    HRESULT TakeSample(LONGLONG llSampleDuration, const BYTE* pSampleBuffer, DWORD dwSampleSize);

    // Enters counting mode.
    void CountSamples();
    // Running sums of the durations that were counted, in 100 ns, the first 0: N samples make N + 1. The list is empty
    // then.
    std::list<LONGLONG> TakeSampleTimes();

    // --- frames ---

    // Says what the samples that come from now on are: frames from uiStart on, up to uiLast at most, of a picture of
    // uiWidth x uiHeight; a width of 0xFFFFFFFF means counting mode. Returns whether the frame uiFrame and all from
    // uiStart up to but not including uiEnd are stored.
    bool SetWindow(std::uint64_t uiFrame, std::uint64_t uiStart, std::uint64_t uiEnd, std::uint64_t uiLast,
                   std::uint32_t uiWidth, std::uint32_t uiHeight);

    // The stored frame of that index, or null. The store keeps it: a trim takes its pixels and leaves the record, a
    // clear frees both.
    const SQmGrabbedFrame* FindFrame(std::uint64_t uiIndex) const;

    // Whether the frame is one of the newest uiWindow stored ones, and more frames are to come after the newest.
    bool IsNearTail(std::uint32_t uiIndex, std::uint32_t uiWindow, std::uint32_t uiLast) const;

    // Frees the oldest frames until no more than uiKeep are stored, and the pixels that trims have kept.
    void ClearFrames(std::size_t uiKeep);

    // If the requested frame is stored, drops the frames that are older than it in the store and lower in index. Their
    // pixels are for the samples that come next: stored and kept ones together are never more than were stored.
    void TrimFrames();

    // Frames that are decoded ahead of a request. Requests count as sequential when they stay on a frame or step to the
    // next one, or have stepped back by one twice; more is decoded for them. Large pictures make it less.
    std::uint32_t GetWindowSize() const;

    std::size_t CountFrames() const;
    SFrameWindow GetWindow() const;

    // --- the host's requests ---

    // Makes uiIndex the requested frame. True when the answer is there at once: *pnStatus is then QM_OK with the
    // pixels in pBuffer, or QM_ERR_FAIL. Else the caller waits with WaitForFrame. A play that won't deliver the frame
    // wants to be paused from then on.
    bool AskForFrame(std::uint64_t uiIndex, void* pBuffer, QmStatus* pnStatus);

    // Waits until the requested frame is stored and copies its pixels, or until it can't be delivered. When the session
    // is silent for too long, all plays end.
    QmStatus WaitForFrame(void* pBuffer);

    // Milliseconds that the session may still be silent: 20 s since its last sample, its last event or the last
    // request, and 100 ms for every frame that it may have to decode before the requested one. Those are the frames
    // from the play's next one on if the current play delivers and leads there, else all from the beginning of the
    // file.
    DWORD GetSilenceLeft() const;
    void NoteEvent();

    // --- plays: the worker ---

    // The play from the beginning of the file. The caller starts the session then. The play wants to be paused at once
    // if a frame was requested that it won't deliver.
    void BeginFirstPlay(std::uint64_t uiEnd, std::uint32_t uiWidth, std::uint32_t uiHeight);

    // With the session at rest: signals the requested frame if it is stored, has fnDecide decide, and gets ready for
    // the play that it decides for. Returns the decision; the caller starts the session for a Play. False, and nothing
    // is done, when the input file is closing or all plays have ended.
    //
    // fnDecide is called with the lock held, and calls nothing of the store.
    bool BeginPlay(const std::function<SPlayDecision(const SRestingStore&)>& fnDecide, std::uint64_t uiLastFrame,
                   std::uint32_t uiWidth, std::uint32_t uiHeight, SPlayDecision* pDecision);

    // Waits for dwMilliseconds. Returns at once while the host waits for a frame, and after Close.
    void RestUnlessHostWaits(DWORD dwMilliseconds);

    // From the begin of a play to its end.
    bool IsPlaying() const;
    void EndPlay();

    // No play begins any more, and requests for frames that aren't stored fail.
    void EndPlays();
    bool HavePlaysEnded() const;

    // --- pauses: the pump ---

    // The current play wants to be paused, whatever was requested.
    void WantPause();
    // Waits until a play wants to be paused, or Close is called.
    void WaitForPauseRequest();
    // Whether a play wants to be paused and wasn't yet: it is the caller's to pause from now on. One play is paused
    // once: a second pause would reach the session when the next play is under way already.
    bool TakePauseRequest();
    // The session refused the pause. The play continues, and its next sample may want a pause again.
    void WithdrawPause();

    // --- the end ---

    // Sets the flag that Connect was given, and wakes the callers of WaitForPauseRequest and RestUnlessHostWaits.
    void Close();
    bool IsClosing() const;

private:
    // How far a play has come to its pause.
    enum class EPauseState
    {
        NotWanted,
        Wanted,
        Asked
    };

    HRESULT CountSample(LONGLONG llSampleDuration);
    bool StoreSample(const BYTE* pSampleBuffer, DWORD dwSampleSize);
    bool TakePixels(SQmPicBuf* pPicture);
    void KeepPixels(SQmPicBuf* pPicture);
    void FreeTrimmedPixels();
    void PauseUnlessRequestIsServed();
    bool LeadsToRequest() const;
    std::uint64_t CountFramesToDecode() const;
    bool IsWalkingBack() const;
    bool MakePlaceFor(std::uint64_t uiIndex);
    std::uint64_t GetMostFrames() const;
    bool WantsMoreSamples();
    void AnswerRequest();
    SQmGrabbedFrame* Find(std::uint64_t uiIndex) const;
    SQmGrabbedFrame* FindOrAppendFrame(std::uint64_t uiIndex);
    static SQmGrabbedFrame* AllocateFrameRecord();
    void SetUpPlay(const SPlay& play, std::uint64_t uiLastFrame, std::uint32_t uiWidth, std::uint32_t uiHeight);

    const std::uint64_t m_uiMostPixelBytes;
    mutable CCriticalSection m_Lock;          // may be taken again by the thread that holds it
    std::list<SQmGrabbedFrame*> m_lstFrames;  // in the order of decoding; owns the records; null without memory for one
    std::vector<SQmPicBuf> m_vTrimmedPixels;  // owned
    std::list<LONGLONG> m_lstSampleTimes;     // running sums of sample durations, 100 ns, the first 0
    HANDLE m_hFrameReady;                     // auto-reset: the requested frame is there, or can't be delivered
    HANDLE m_hPauseRequest;                   // auto-reset: m_ePause is Wanted, or the input file is closing
    HANDLE m_hHostWaits;      // manual-reset: the requested frame isn't there yet, or the input file is closing
    std::uint32_t m_uiWidth;  // 0xFFFFFFFF: counting mode
    std::uint32_t m_uiHeight;
    std::uint64_t m_uiWindowStart;    // first frame of the current play, or the oldest one still of use
    std::uint64_t m_uiWindowEnd;      // stored, not read
    std::uint64_t m_uiLastFrame;      // highest index that the current play may reach
    std::uint64_t m_uiNextFrame;      // index that the next sample gets
    std::uint64_t m_uiKeepFrom;       // samples before this one are dropped
    std::uint64_t m_uiDelivered;      // index that the last sample got
    std::uint64_t m_uiRequested;      // the frame that the host wants
    std::uint64_t m_uiPrevRequested;  // the one that it wanted before
    std::uint32_t m_uiStepsBack;      // requests in a row for the frame before the one requested before
    IMFMediaSession* m_pSession;      // not counted
    std::atomic<bool>* m_pStopFlag;   // m_bStop of the input file; null in counting mode
    bool m_bNV12;                     // samples are NV12 and don't become pictures
    bool m_bRunning;                  // the session plays
    bool m_bPlayDelivered;            // the current play has delivered a sample
    EPauseState m_ePause;             // of the current play
    std::uint64_t m_uiRequestNumber;  // of the current request, from 1; 0 before the first
    bool m_bRequestFailed;            // the frame of the current request can't be delivered
    bool m_bPlaysEnded;               // no other play begins
    std::uint64_t m_uiLastActivity;   // when the session last did anything, or the host asked
};
