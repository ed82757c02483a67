// The Media Foundation back end of one output file: pictures go to a media session, which pulls them one by one,
// encodes them and writes the file.
#pragma once

#include <cstdint>
#include <memory>

#include <windows.h>

#include "common/criticalsection.h"
#include "mp4_outputfile/encoderbackend.h"
#include "mp4_outputfile/picturehandover.h"
#include "mp4_outputfile/writegraph.h"

// How long a session may take to fetch a frame of that many pixels before it counts as stalled, in milliseconds: 300
// for 1920 x 1080, and more or less as the picture is larger or smaller, but not below 100, or below 2500 while the
// session hasn't started yet. The product is cut to 64 bits, the quotient to 32.
std::uint32_t CalcStallLimit(std::uint64_t uiPixels, bool bStarted);

// A thread of this object's own runs the session.
class CMediaFoundationWriter : public IEncoderBackEnd
{
public:
    CMediaFoundationWriter() = default;
    ~CMediaFoundationWriter() override;

    CMediaFoundationWriter(const CMediaFoundationWriter&) = delete;
    CMediaFoundationWriter& operator=(const CMediaFoundationWriter&) = delete;

    // May be tried again after a failure, not after Close. No graph is left when it fails, and nothing plays.
    HRESULT Open(const SEncoderSettings& settings) override;

    // Keeps a picture for the session. The picture before it goes over first, and the call returns when the session has
    // fetched that one. Index 0 hands nothing over: it overwrites the picture before it.
    //
    // A session that doesn't fetch a picture is stopped and started again, with twice the limit each time. It is given
    // up when the limit exceeds 20 seconds; it then has 20 more to end by itself before it is shut down. The picture is
    // lost then, when the session has ended before the call, and without memory. A session that ends during the call
    // shows at the next one.
    EPictureFate WriteFrame(std::uint32_t uiIndex, const SHostPicture& picture, const SFrameTimes& times) override;

    // Gives the newest picture to the session, waits until it has finished the file, and releases everything. A source
    // that hasn't been started yet gets up to 20 seconds for it first. A session that doesn't fetch the picture, or
    // doesn't end, is shut down when the file hasn't grown for ten minutes.
    void Close(const SFrameTimes& times) override;

protected:
    static DWORD WINAPI RunWriterThread(void* pWriter);
    bool IsRunning() const { return m_hWriterThread != nullptr; }
    HRESULT BuildGraph(const SEncoderSettings& settings);
    HRESULT StartThread();
    void EndGraph();
    void DropHandover();
    SWriteGraph ShareGraph();
    bool HasSession();
    void ForceEnd();
    void JoinThread(DWORD dwResult);
    QmStatus HandOverPending(const SQmImageAttributes& attrSource, double dSampleTime);
    QmStatus AwaitTaken(std::uint32_t uiLimit);
    void StopSession();
    void RestartSession();
    void AwaitStart();
    void End();

    const wchar_t* m_pwszPath = nullptr;  // the target; lives as long as this object
    std::unique_ptr<CPictureHandover> m_pHandover;
    double m_dSampleTime = 0.0;        // distance in milliseconds of the newest picture from the one before it
    bool m_bSourceLeft = false;        // something holds the source after the graph's end
    HANDLE m_hWriterThread = nullptr;  // from its start until its end was awaited

    // The thread empties the graph when the session has ended, whenever that is. The host's thread uses it through
    // references of its own, taken under the lock.
    CCriticalSection m_csGraph;
    SWriteGraph m_graph;
};
