// What decides where a file is played.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include <windows.h>

#include <mfidl.h>

#include "mp4filesimpl/samplegrabber.h"

// What the threads of an open file share. All of it outlives them.
struct SReadGraph
{
    IMFMediaSession* m_pSession;
    SampleGrabberCB* m_pGrabber;
    const std::vector<std::uint64_t>& m_vFrameTimesMs;  // not empty
    std::uint32_t m_uiWidth;                            // of the picture
    std::uint32_t m_uiHeight;
    const std::atomic<bool>& m_bStop;
    // Held from the set-up of a play to its start, and by whoever pauses it, so that a pause meets the play that asked
    // for it. Taken before the grabber's lock.
    std::mutex& m_mtxPlay;
};

// The worker's thread. It alone takes the session's events, and it starts every play: first from the beginning of the
// file, then wherever the request of the host wants it, until the object goes away or the session fails.
//
// A play that begins at the time of frame k numbers its samples from k on: nothing but this ties an index to a picture.
class CReadWorker
{
public:
    explicit CReadWorker(const SReadGraph& graph) : m_graph(graph) {}

    // Comes back when nothing more can be or is to be played. Whoever waits for a frame is told.
    void Run();

private:
    // How a play came to its end.
    enum class EPlayEnd
    {
        None,
        Paused,
        Other
    };

    // Where a play is to begin, and why there.
    struct SPlay
    {
        bool m_bNearTail;         // goes on behind the newest stored frame, and keeps what is stored
        bool m_bSeek;             // the session has to look for the place
        std::uint64_t m_uiStart;  // index of the frame that comes first
    };

    HRESULT StartFromBeginning();
    bool WaitWhilePlaying();
    void TakeEvent(MediaEventType eType, HRESULT hrStatus);
    bool ServeRequest();
    void JudgeLastPlay(bool bFrameStored);
    SPlay ChoosePlay(const SQmGrabbedFrame* pRequested, bool bNearTail) const;
    std::uint64_t NextBehindTail() const;
    bool CanGoOnBehindTail() const;
    void SetUpPlay(const SPlay& play, std::uint32_t uiWindow);
    HRESULT StartPlay(const SPlay& play);

    std::uint64_t LastFrame() const { return m_graph.m_vFrameTimesMs.size() - 1; }

    SReadGraph m_graph;
    bool m_bFirst = true;                  // the play from the beginning: its failure ends the thread
    bool m_bStarted = false;               // the session has told that the current play began
    EPlayEnd m_ePlayEnd = EPlayEnd::None;  // of the last play, until it is judged
    std::uint64_t m_uiPlayRequest = 0;     // number of the request that the last play was for; 0 for none
    bool m_bPaused = false;                // the last play to end was paused, and the session can resume there
    std::uint64_t m_uiPlayStart = 0;       // first frame of the last play
    bool m_bResumable = false;             // the last play was paused on its way to the frame requested now
    std::uint64_t m_uiJudgedRequest = 0;   // number of the request that m_nFruitless counts for
    int m_nFruitless = 0;                  // plays for it that brought it no nearer
};

// The pump's thread: pauses the session when the grabber has enough, until m_bStop is set and the pause-request event
// says so.
void RunReadPump(const SReadGraph& graph);
