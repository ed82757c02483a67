// The Media Foundation back end of one output file: pictures go to a media session, which pulls them one by one,
// encodes them and writes the file.
#pragma once

#include <cstdint>

#include <windows.h>

#include "hostapi/iqmoutputimagefile.h"
#include "common/criticalsection.h"
#include "mp4_outputfile/picturehandover.h"
#include "mp4_outputfile/writegraph.h"

// How long a session may take to fetch a frame of that many pixels before it counts as stalled, in milliseconds: 300
// for 1920 x 1080, and more or less as the picture is larger or smaller, but not below 100, or below 2500 while the
// session hasn't started yet. The product is cut to 64 bits, the quotient to 32.
std::uint32_t CalcStallLimit(std::uint64_t uiPixels, bool bStarted);

// A thread of this object's own runs the session; all operations are called on the host's thread.
class CMediaFoundationWriter
{
public:
    CMediaFoundationWriter() = default;
    ~CMediaFoundationWriter();

    CMediaFoundationWriter(const CMediaFoundationWriter&) = delete;
    CMediaFoundationWriter& operator=(const CMediaFoundationWriter&) = delete;

    // The thread was started, and nobody has waited for its end yet.
    bool IsRunning() const { return m_hWriterThread != nullptr; }

    // A picture was lost while the session ran, and every later one is refused.
    bool HasFailed() const { return m_bFailed; }

    // The set-up, in three steps, which may be tried again from the first on; not after a picture was lost, and not
    // after Close. Nothing plays and no graph is left when one of them fails.
    QmStatus OpenHandover(std::uint32_t uiWidth, std::uint32_t uiHeight);  // in pixels, as encoded
    HRESULT BuildGraph();
    QmStatus StartThread();

    // Keeps a picture for the session. The picture before it goes over first, if bHandOver, and the call comes back
    // when the session has fetched that one; without bHandOver it is overwritten. attrEncoded is of the size that
    // OpenHandover was told.
    //
    // A session that leaves a picture lying is stopped and started again, with twice the patience each time, and given
    // up when that exceeds 20 seconds; it then has 20 more to end by itself before it is shut down. QM_ERR_FAIL then,
    // when the session has ended before the call, and without memory; and for every later picture, since the file's
    // times can't be right without this one. A session that ends during the call is told at the next.
    QmStatus WriteFrame(const void* pPixels, bool bHandOver, const SQmImageAttributes& attrSource,
                        const SQmImageAttributes& attrEncoded);

    // Gives the newest picture to the session, waits until it has finished the file, and lets go of everything. A
    // session that doesn't fetch the picture, or doesn't end, is shut down after ten minutes each. Again: nothing.
    void Close();

protected:
    static DWORD WINAPI RunWriterThread(void* pWriter);
    void ShutDown(const SWriteGraph& graph);
    void EndGraph();
    SWriteGraph ShareGraph();
    bool HasSession();
    void ForceEnd();
    void JoinThread(std::uint32_t uiLimit);
    QmStatus HandOverPending(const SQmImageAttributes& attrSource);
    QmStatus AwaitTaken(std::uint32_t uiLimit);
    void StopSession();
    void RestartSession();

    CPictureHandover m_handover;
    HANDLE m_hWriterThread = nullptr;
    bool m_bFailed = false;  // a picture was lost while the session ran

    // The thread empties the graph when the session has come to its end, whenever that is. The host's thread uses it
    // through references of its own, taken under the lock.
    CCriticalSection m_csGraph;
    SWriteGraph m_graph;
};
