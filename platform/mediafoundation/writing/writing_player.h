// Plays a source through an encoder into a sink.
//
// The source is asked for one sample at a time, by the thread of SampleRequester. Everything else is done on the
// session's thread, in steps that don't wait. Events of source, stream and sink come to that thread as tasks.
//
// No sample is lost by a stop: what has come from the source, and what is inside the encoder, stays there for the next
// start. While a call of RequestSample is under way the source isn't stopped, because it would drop the sample that it
// is about to give; it is stopped when the call has returned, unless the session was started again by then.
#pragma once

#include <deque>
#include <memory>

#include "mftransform.h"
#include "platform/com/com_ptr.h"
#include "platform/mediafoundation/graph_player.h"
#include "platform/mediafoundation/source_node.h"
#include "platform/mediafoundation/writing/sample_requester.h"

namespace mediafoundation
{

class WritingPlayer final : public GraphPlayer, public std::enable_shared_from_this<WritingPlayer>
{
public:
    // The source's stream has to lead to a transform, and that to a stream of a sink. Sets the transform's input type
    // to the stream's type, and begins to take events.
    static HRESULT Create(const SourceNode& sourceNode, const std::shared_ptr<IPlayerHost>& host,
                          std::shared_ptr<GraphPlayer>* pPlayer);
    // Shuts the sink down, unless the output node asks to leave it. If the source has been shut down, no call to it is
    // under way when this returns. Otherwise one that is under way may end later.
    ~WritingPlayer() override;

    HRESULT Start(const StartRequest& request) override;
    void Pause() override;
    void Stop() override;
    void SetRate(float fRate) override;
    bool AcceptsCommands() const override { return !m_bStarting; }
    bool Play() override;

private:
    class EventPump;
    enum class Origin
    {
        Source,
        Stream,
        Sink
    };

    explicit WritingPlayer(const std::shared_ptr<IPlayerHost>& host);
    HRESULT Connect(const SourceNode& sourceNode);
    HRESULT ConnectTransform(IMFTopologyNode* pNode, platform::ComPtr<IMFTopologyNode>* pNext);
    HRESULT ConnectSink(IMFTopologyNode* pNode);
    HRESULT SetTypes(IMFStreamDescriptor* pStream);
    bool IsSourceShutDown() const;

    IMFMediaEventGenerator* GeneratorOf(Origin origin) const;
    HRESULT AwaitEvent(Origin origin);
    void OnEvent(Origin origin, IMFAsyncResult* pResult);
    HRESULT Handle(Origin origin, IMFMediaEvent* pEvent);
    HRESULT HandleSourceEvent(MediaEventType type, const PROPVARIANT& value);
    HRESULT HandleStreamEvent(MediaEventType type, const PROPVARIANT& value);
    HRESULT HandleSinkEvent(MediaEventType type);
    HRESULT TakeStream(const PROPVARIANT& value);
    HRESULT StartSink();
    void OnRequestReturned(HRESULT hr);
    void Fail(HRESULT hr);

    void RequestSample();
    void StopSource();
    bool DeliverOutput();
    bool TakeOutput();
    bool EncodeInput();
    bool EndStream();

    IPlayerHost& m_host;
    const std::weak_ptr<IPlayerHost> m_hostOfTasks;

    platform::ComPtr<IMFMediaSource> m_source;
    platform::ComPtr<IMFPresentationDescriptor> m_presentation;
    platform::ComPtr<IMFMediaStream> m_stream;  // from the first start on
    platform::ComPtr<IMFTransform> m_transform;
    platform::ComPtr<IMFStreamSink> m_sinkStream;
    platform::ComPtr<IMFMediaSink> m_sink;
    platform::ComPtr<IMFClockStateSink> m_sinkClock;  // null: the sink doesn't care
    bool m_bLeaveSink = false;

    bool m_bPlaying = false;        // from a start that has succeeded to a stop or a pause
    bool m_bStarting = false;       // until source and sink have started
    bool m_bResuming = false;       // the start under way ends a pause
    bool m_bSourceRuns = false;     // from Start of the source to its Stop
    bool m_bStreamStarted = false;  // it may be asked for samples
    bool m_bSourceStopDue = false;  // when RequestSample returns
    bool m_bCalling = false;        // RequestSample
    bool m_bRequested = false;      // the sample of a request hasn't come yet
    HRESULT m_hrFailed = S_OK;      // what failed while nothing played

    std::deque<platform::ComPtr<IMFSample>> m_inputs;   // for the transform
    std::deque<platform::ComPtr<IMFSample>> m_outputs;  // for the sink
    unsigned m_uiSinkRequests = 0;
    bool m_bEndOfStream = false;
    bool m_bDrained = false;
    bool m_bMarkerPlaced = false;
    bool m_bMarkerReached = false;
    bool m_bEnded = false;  // until the next start, which begins a new presentation

    std::unique_ptr<SampleRequester> m_requester;
};

}  // namespace mediafoundation
