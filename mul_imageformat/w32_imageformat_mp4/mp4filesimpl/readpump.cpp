#include "mp4filesimpl/readworker.h"

namespace
{

constexpr DWORD NOTHING_TO_PAUSE_MS = 10;

// Pauses the current play if it has asked for that and wasn't paused yet. False when there was nothing to pause.
//
// A pause too many would come back as an event in the middle of the next play, be taken for its end, and the samples
// still under way would be numbered from the start of the one after it.
bool PausePlay(const SReadGraph& graph)
{
    const std::lock_guard play(graph.m_mtxPlay);
    {
        CGrabberLock lock(graph.m_pGrabber);
        if (graph.m_pGrabber->m_nRunning == 0 || graph.m_pGrabber->m_ePause != EPauseState::Wanted) return false;
        graph.m_pGrabber->m_ePause = EPauseState::Asked;
    }
    if (FAILED(graph.m_pSession->Pause()))
    {
        CGrabberLock lock(graph.m_pGrabber);
        graph.m_pGrabber->m_ePause = EPauseState::NotWanted;  // the next sample asks again
    }
    return true;
}

}  // namespace

void RunReadPump(const SReadGraph& graph)
{
    while (!graph.m_bStop)
    {
        WaitForSingleObject(graph.m_pGrabber->m_hPauseRequest, INFINITE);
        ResetEvent(graph.m_pGrabber->m_hPauseRequest);
        if (!graph.m_bStop && !PausePlay(graph)) Sleep(NOTHING_TO_PAUSE_MS);
    }
}
