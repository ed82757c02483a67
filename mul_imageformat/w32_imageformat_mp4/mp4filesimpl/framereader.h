// Frames by index, played by a session.
#pragma once

#include <cstdint>
#include <vector>

#include <windows.h>

#include "common/criticalsection.h"
#include "hostapi/qmstatus.h"

class CReadGraph;
struct SQmImageAttributes;

// From the first frame on two threads work for it until End: the worker decides what is played, the pump pauses the
// play when the frame store asks for it.
//
// Graph, times and attributes outlive the reader. They don't change from the first Read to End.
class CFrameReader
{
public:
    CFrameReader(CReadGraph& graph, const std::vector<std::uint64_t>& vFrameTimesMs,
                 const SQmImageAttributes& attributes);
    // Precondition: End was called after the last Read.
    ~CFrameReader();
    CFrameReader(const CFrameReader&) = delete;
    CFrameReader& operator=(const CFrameReader&) = delete;

    // Copies the pixels of frame uiIndex to pBuffer. Calls come one at a time. QM_ERR_FAIL when the frame can't be
    // delivered. After a session that failed or was silent for too long no other play begins, and only stored frames
    // are delivered.
    QmStatus Read(std::uint32_t uiIndex, void* pBuffer);

    // Sets the flag that the graph's store was given, and returns when no thread of the reader runs any more. Samples
    // that are still on their way find nothing of the input file then.
    void End();

    // Whether frames were asked for.
    bool IsRunning() const { return m_hWorkerThread != nullptr; }

private:
    QmStatus StartThreads();
    static DWORD WINAPI PumpThread(void* pReader);
    static DWORD WINAPI WorkerThread(void* pReader);
    void RunPump();
    bool PausePlay();

    CReadGraph& m_Graph;
    const std::vector<std::uint64_t>& m_vFrameTimesMs;  // the start of each frame
    const SQmImageAttributes& m_Attributes;             // the size of the picture
    bool m_bTopologySet;                                // the session has its topology
    HANDLE m_hWorkerThread;                             // null until the first frame is asked for
    HANDLE m_hPumpThread;                               // likewise
    HANDLE m_hEndWorker;                                // manual-reset: the worker is to end
    // Held from the begin of a play to its start, and while one is paused, so that a pause meets the play that asked
    // for it. Taken before the store's lock.
    CCriticalSection m_PlayLock;
};
