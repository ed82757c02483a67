// The thread that decides where a file is played.
#pragma once

#include <cstdint>
#include <vector>

#include <windows.h>

#include <mfidl.h>

#include "common/sessionevents.h"
#include "mp4filesimpl/framestore.h"

// What a worker works with. All of it outlives the worker.
struct SReadPlan
{
    IMFMediaSession& m_Session;
    CFrameStore& m_Store;
    const std::vector<std::uint64_t>& m_vFrameTimesMs;  // not empty, never falling
    std::uint32_t m_uiWidth;                            // of the picture
    std::uint32_t m_uiHeight;
    CRITICAL_SECTION& m_PlayLock;  // held from the begin of a play to its start
    HANDLE m_hEnd;                 // signalled when the worker is to end, whatever the session does
};

// It alone takes the session's events, and it starts every play: first from the beginning of the file, then wherever
// the request of the host needs it, until the input file is closing or the session fails.
//
// A play that begins at the time of frame k numbers its samples from k on. Nothing else ties an index to a picture.
class CReadWorker
{
public:
    explicit CReadWorker(const SReadPlan& plan) : m_Plan(plan), m_Events(&plan.m_Session) {}

    // Returns when the session has failed or is silent for too long, or the input file is closing. Wakes a waiting
    // reader.
    void Run();

private:
    // How a play came to its end.
    enum class EPlayEnd
    {
        None,
        Paused,
        FirstScrub,
        Other
    };

    HRESULT StartFromBeginning();
    bool WaitWhilePlaying();
    void TakeEvent(MediaEventType eType, HRESULT hrStatus);
    bool PausePlay();
    EPlayEnd NoteScrub();
    bool ServeRequest();
    SPlayDecision Decide(const SRestingStore& store);
    void JudgeLastPlay(const SRestingStore& store);
    SPlay ChoosePlay(const SRestingStore& store) const;
    SPlay BringFramesBefore(const SRestingStore& store) const;
    std::uint64_t NextAfterTail(const SRestingStore& store) const;
    bool CanContinueAfterTail(const SRestingStore& store) const;
    SPlay ContinueAfterTail(const SRestingStore& store) const;
    std::uint64_t FirstOfMillisecond(std::uint64_t uiFrame) const;
    HRESULT StartPlay(const SPlay& play);
    IMFRateControl* SetRateFor(const SPlay& play);

    std::uint64_t LastFrame() const { return m_Plan.m_vFrameTimesMs.size() - 1; }

    const SReadPlan m_Plan;
    CSessionEvents m_Events;
    bool m_bScrubs = false;                // rate 0 makes the session deliver one sample or none, and wait
    bool m_bPlayingRateSet = false;        // and has a rate that plays since then
    bool m_bFirst = true;                  // the play from the beginning: its failure ends the thread
    bool m_bStarted = false;               // the session has reported that the current play began
    bool m_bScrubReported = false;         // since the last start
    EPlayEnd m_ePlayEnd = EPlayEnd::None;  // of the last play, until it is judged
    std::uint64_t m_uiPlayRequest = 0;     // number of the request that the last play was for; 0 for none
    bool m_bPaused = false;                // the last play to end was paused, and the session can resume there
    std::uint64_t m_uiPlayKeepFrom = 0;    // first frame that the last play was to store
    std::uint64_t m_uiJudgedRequest = 0;   // number of the request that m_nFruitless counts for
    int m_nFruitless = 0;                  // plays for it that brought it no nearer
};
