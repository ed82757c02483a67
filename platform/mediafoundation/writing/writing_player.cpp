#include "platform/mediafoundation/writing/writing_player.h"

#include "mferror.h"
#include "platform/com/com_object.h"
#include "platform/mediafoundation/system_time.h"

namespace mediafoundation
{

using platform::ComPtr;

// What a generator's queue calls. It only passes the result on, so it never waits for a lock of the generator.
class WritingPlayer::EventPump final : public platform::ComObject<platform::Implements<IMFAsyncCallback>>
{
public:
    EventPump(std::weak_ptr<IPlayerHost> host, std::weak_ptr<WritingPlayer> player, Origin origin)
        : m_host(std::move(host)), m_player(std::move(player)), m_origin(origin)
    {}

    HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult* pResult) override
    {
        const std::shared_ptr<IPlayerHost> host = m_host.lock();
        if (!host) return S_OK;
        host->PostTask([player = m_player, origin = m_origin, result = ComPtr<IMFAsyncResult>(pResult)] {
            if (const std::shared_ptr<WritingPlayer> present = player.lock()) present->OnEvent(origin, result.Get());
        });
        return S_OK;
    }

private:
    const std::weak_ptr<IPlayerHost> m_host;
    const std::weak_ptr<WritingPlayer> m_player;
    const Origin m_origin;
};

// --- the graph ---

WritingPlayer::WritingPlayer(const std::shared_ptr<IPlayerHost>& host) : m_host(*host), m_hostOfTasks(host) {}

HRESULT WritingPlayer::Create(const SourceNode& sourceNode, const std::shared_ptr<IPlayerHost>& host,
                              std::shared_ptr<GraphPlayer>* pPlayer)
{
    std::shared_ptr<WritingPlayer> player(new WritingPlayer(host));
    player->m_requester =
        std::make_unique<SampleRequester>([weak = player->weak_from_this(), tasks = player->m_hostOfTasks](HRESULT hr) {
            const std::shared_ptr<IPlayerHost> present = tasks.lock();
            if (!present) return;
            present->PostTask([weak, hr] {
                if (const std::shared_ptr<WritingPlayer> requesting = weak.lock()) requesting->OnRequestReturned(hr);
            });
        });
    HRESULT hr = player->Connect(sourceNode);
    if (SUCCEEDED(hr)) hr = player->AwaitEvent(Origin::Source);
    if (SUCCEEDED(hr)) hr = player->AwaitEvent(Origin::Sink);
    if (SUCCEEDED(hr)) *pPlayer = std::move(player);
    return hr;
}

WritingPlayer::~WritingPlayer()
{
    m_requester->Close(m_source && IsSourceShutDown());
    if (m_sink && !m_bLeaveSink) (void)m_sink->Shutdown();
}

HRESULT WritingPlayer::Connect(const SourceNode& sourceNode)
{
    m_source = sourceNode.m_source;
    m_presentation = sourceNode.m_presentation;
    ComPtr<IMFTopologyNode> outputNode;
    HRESULT hr = ConnectTransform(sourceNode.m_next.Get(), &outputNode);
    if (SUCCEEDED(hr)) hr = ConnectSink(outputNode.Get());
    return FAILED(hr) ? hr : SetTypes(sourceNode.m_stream.Get());
}

HRESULT WritingPlayer::ConnectTransform(IMFTopologyNode* pNode, ComPtr<IMFTopologyNode>* pNext)
{
    MF_TOPOLOGY_TYPE type = MF_TOPOLOGY_MAX;
    ComPtr<IUnknown> object;
    DWORD dwInput = 0;
    HRESULT hr = pNode->GetNodeType(&type);
    if (FAILED(hr) || type != MF_TOPOLOGY_TRANSFORM_NODE) return MF_E_TOPO_UNSUPPORTED;
    hr = pNode->GetObject(object.Put());
    if (FAILED(hr)) return MF_E_TOPO_UNSUPPORTED;
    m_transform = object.As<IMFTransform>();
    if (!m_transform || FAILED(pNode->GetOutput(0, pNext->Put(), &dwInput))) return MF_E_TOPO_UNSUPPORTED;
    return S_OK;
}

HRESULT WritingPlayer::ConnectSink(IMFTopologyNode* pNode)
{
    MF_TOPOLOGY_TYPE type = MF_TOPOLOGY_MAX;
    ComPtr<IUnknown> object;
    HRESULT hr = pNode->GetNodeType(&type);
    if (FAILED(hr) || type != MF_TOPOLOGY_OUTPUT_NODE) return MF_E_TOPO_UNSUPPORTED;
    hr = pNode->GetObject(object.Put());
    if (FAILED(hr)) return MF_E_TOPO_UNSUPPORTED;
    m_sinkStream = object.As<IMFStreamSink>();
    if (!m_sinkStream) return MF_E_TOPO_UNSUPPORTED;
    m_bLeaveSink = LeavesSink(pNode);
    hr = m_sinkStream->GetMediaSink(m_sink.Put());
    if (FAILED(hr)) return hr;
    m_sinkClock = m_sink.As<IMFClockStateSink>();
    return S_OK;
}

HRESULT WritingPlayer::SetTypes(IMFStreamDescriptor* pStream)
{
    ComPtr<IMFMediaTypeHandler> handler;
    ComPtr<IMFMediaType> type;
    HRESULT hr = pStream->GetMediaTypeHandler(handler.Put());
    if (SUCCEEDED(hr)) hr = handler->GetCurrentMediaType(type.Put());
    if (SUCCEEDED(hr)) hr = m_transform->SetInputType(0, type.Get(), 0);
    if (SUCCEEDED(hr)) hr = m_transform->GetOutputCurrentType(0, type.Put());
    if (SUCCEEDED(hr)) hr = m_sinkStream->GetMediaTypeHandler(handler.Put());
    return FAILED(hr) ? hr : handler->SetCurrentMediaType(type.Get());
}

bool WritingPlayer::IsSourceShutDown() const
{
    DWORD dwCharacteristics = 0;
    return m_source->GetCharacteristics(&dwCharacteristics) == MF_E_SHUTDOWN;
}

// --- starting and stopping ---

HRESULT WritingPlayer::Start(const StartRequest& request)
{
    if (FAILED(m_hrFailed)) return m_hrFailed;
    if (m_bEnded) m_bEnded = m_bEndOfStream = m_bDrained = m_bMarkerPlaced = m_bMarkerReached = false;
    HRESULT hr = m_transform->ProcessMessage(MFT_MESSAGE_NOTIFY_BEGIN_STREAMING, 0);
    if (FAILED(hr)) return hr;

    PROPVARIANT position;
    PropVariantInit(&position);
    if (request.m_position)
    {
        position.vt = VT_I8;
        position.hVal.QuadPart = *request.m_position;
    }
    hr = m_source->Start(m_presentation.Get(), &GUID_NULL, &position);
    if (FAILED(hr)) return hr;
    m_bSourceRuns = true;
    m_bSourceStopDue = false;
    m_bStarting = true;
    m_bResuming = request.m_state == SessionState::Paused && !request.m_position;
    m_bPlaying = true;
    return S_OK;
}

HRESULT WritingPlayer::StartSink()
{
    if (!m_bStarting) return S_OK;
    if (!m_sinkClock) return HandleSinkEvent(MEStreamSinkStarted);
    return m_bResuming ? m_sinkClock->OnClockRestart(SystemTime()) : m_sinkClock->OnClockStart(SystemTime(), 0);
}

void WritingPlayer::Pause()
{
    m_bPlaying = false;
    (void)m_source->Pause();
    if (m_sinkClock) (void)m_sinkClock->OnClockPause(SystemTime());
}

void WritingPlayer::Stop()
{
    m_bPlaying = false;
    m_bStarting = false;
    if (m_sinkClock) (void)m_sinkClock->OnClockStop(SystemTime());
    if (m_bCalling)
    {
        m_bSourceStopDue = true;
    }
    else
    {
        StopSource();
    }
}

// The source forgets requests that it hasn't served.
void WritingPlayer::StopSource()
{
    m_bSourceStopDue = false;
    if (!m_bSourceRuns) return;
    m_bSourceRuns = false;
    m_bStreamStarted = false;
    m_bRequested = false;
    (void)m_source->Stop();
}

void WritingPlayer::SetRate(float fRate)
{
    if (m_sinkClock) (void)m_sinkClock->OnClockSetRate(SystemTime(), fRate);
}

// A failure while nothing plays is kept for the next start: a sample may be missing by then.
void WritingPlayer::Fail(HRESULT hr)
{
    if (SUCCEEDED(m_hrFailed)) m_hrFailed = hr;
    if (!m_bPlaying) return;
    if (m_bStarting) (void)m_host.Events().Add(MESessionStarted, hr);
    m_host.EndWithError(hr);
}

// --- events ---

IMFMediaEventGenerator* WritingPlayer::GeneratorOf(Origin origin) const
{
    switch (origin)
    {
    case Origin::Source:
        return m_source.Get();
    case Origin::Stream:
        return m_stream.Get();
    case Origin::Sink:
        return m_sinkStream.Get();
    }
    return nullptr;
}

HRESULT WritingPlayer::AwaitEvent(Origin origin)
{
    const auto pump = ComPtr<EventPump>::Attach(new EventPump(m_hostOfTasks, weak_from_this(), origin));
    return GeneratorOf(origin)->BeginGetEvent(pump.Get(), nullptr);
}

void WritingPlayer::OnEvent(Origin origin, IMFAsyncResult* pResult)
{
    ComPtr<IMFMediaEvent> event;
    HRESULT hr = GeneratorOf(origin)->EndGetEvent(pResult, event.Put());
    if (SUCCEEDED(hr)) hr = AwaitEvent(origin);
    if (event)
    {
        const HRESULT hrEvent = Handle(origin, event.Get());
        if (FAILED(hrEvent)) hr = hrEvent;
    }
    if (FAILED(hr)) Fail(hr);
}

HRESULT WritingPlayer::Handle(Origin origin, IMFMediaEvent* pEvent)
{
    MediaEventType type = MEUnknown;
    HRESULT hrStatus = S_OK;
    HRESULT hr = pEvent->GetType(&type);
    if (SUCCEEDED(hr)) hr = pEvent->GetStatus(&hrStatus);
    if (SUCCEEDED(hr)) hr = hrStatus;
    if (SUCCEEDED(hr) && type == MEError) hr = E_FAIL;  // an error without a status
    PROPVARIANT value;
    PropVariantInit(&value);
    if (SUCCEEDED(hr)) hr = pEvent->GetValue(&value);
    if (FAILED(hr)) return hr;
    switch (origin)
    {
    case Origin::Source:
        hr = HandleSourceEvent(type, value);
        break;
    case Origin::Stream:
        hr = HandleStreamEvent(type, value);
        break;
    case Origin::Sink:
        hr = HandleSinkEvent(type);
        break;
    }
    (void)PropVariantClear(&value);
    return hr;
}

// The end of the presentation is that of its one stream, whose samples may not have come yet.
HRESULT WritingPlayer::HandleSourceEvent(MediaEventType type, const PROPVARIANT& value)
{
    switch (type)
    {
    case MENewStream:
    case MEUpdatedStream:
        return TakeStream(value);
    case MESourceStarted:
    case MESourceSeeked:
        return StartSink();
    default:
        return S_OK;
    }
}

HRESULT WritingPlayer::TakeStream(const PROPVARIANT& value)
{
    ComPtr<IMFMediaStream> stream;
    if (value.vt != VT_UNKNOWN || value.punkVal == nullptr) return E_UNEXPECTED;
    const HRESULT hr = value.punkVal->QueryInterface(IID_IMFMediaStream, stream.PutVoid());
    if (FAILED(hr) || stream.Get() == m_stream.Get()) return hr;
    if (m_stream) return MF_E_TOPO_UNSUPPORTED;  // one stream is all that a source may have here
    m_stream = std::move(stream);
    return AwaitEvent(Origin::Stream);
}

HRESULT WritingPlayer::HandleStreamEvent(MediaEventType type, const PROPVARIANT& value)
{
    switch (type)
    {
    case MEStreamStarted:
    case MEStreamSeeked:
        m_bStreamStarted = m_bSourceRuns;
        return S_OK;
    case MEEndOfStream:
        m_bEndOfStream = true;
        return S_OK;
    case MEMediaSample: {
        m_bRequested = false;
        ComPtr<IMFSample> sample;
        if (value.vt != VT_UNKNOWN || value.punkVal == nullptr) return E_UNEXPECTED;
        const HRESULT hr = value.punkVal->QueryInterface(IID_IMFSample, sample.PutVoid());
        if (SUCCEEDED(hr) && !m_bEndOfStream) m_inputs.push_back(std::move(sample));
        return hr;
    }
    default:
        return S_OK;
    }
}

HRESULT WritingPlayer::HandleSinkEvent(MediaEventType type)
{
    switch (type)
    {
    case MEStreamSinkStarted:
        m_uiSinkRequests = 0;  // it asks again after each start
        if (!m_bStarting) return S_OK;
        m_bStarting = false;
        return m_host.Events().Add(MESessionStarted, S_OK);
    case MEStreamSinkRequestSample:
        ++m_uiSinkRequests;
        return S_OK;
    case MEStreamSinkMarker:
        m_bMarkerReached = m_bMarkerPlaced;
        return S_OK;
    default:
        return S_OK;
    }
}

// --- playing ---

bool WritingPlayer::Play()
{
    if (m_bStarting) return false;
    if (m_bMarkerReached)
    {
        m_bEnded = true;
        m_host.EndSession();
        return false;
    }
    if (DeliverOutput() || TakeOutput()) return true;
    RequestSample();
    return EncodeInput() || EndStream();
}

bool WritingPlayer::DeliverOutput()
{
    if (m_outputs.empty() || m_uiSinkRequests == 0) return false;
    --m_uiSinkRequests;
    const ComPtr<IMFSample> sample = std::move(m_outputs.front());
    m_outputs.pop_front();
    const HRESULT hr = m_sinkStream->ProcessSample(sample.Get());
    if (FAILED(hr)) Fail(hr);
    return true;
}

bool WritingPlayer::TakeOutput()
{
    if (!m_outputs.empty()) return false;
    MFT_OUTPUT_DATA_BUFFER output = {};
    DWORD dwStatus = 0;
    const HRESULT hr = m_transform->ProcessOutput(0, 1, &output, &dwStatus);
    if (hr == MF_E_TRANSFORM_NEED_MORE_INPUT) return false;
    if (SUCCEEDED(hr))
    {
        m_outputs.push_back(ComPtr<IMFSample>::Attach(output.pSample));
    }
    else
    {
        Fail(hr);
    }
    return true;
}

// One sample waits while another one is encoded, so that source and encoder work side by side.
void WritingPlayer::RequestSample()
{
    const bool bMay = m_bStreamStarted && !m_bEndOfStream && !m_bCalling && !m_bRequested;
    if (!bMay || m_inputs.size() > 1) return;
    m_requester->Request(m_stream);
    m_bCalling = true;
    m_bRequested = true;
}

void WritingPlayer::OnRequestReturned(HRESULT hr)
{
    m_bCalling = false;
    if (m_bSourceStopDue) StopSource();
    if (FAILED(hr))
    {
        m_bRequested = false;
        if (!m_bEndOfStream) Fail(hr);
    }
}

bool WritingPlayer::EncodeInput()
{
    if (m_inputs.empty() || !m_outputs.empty()) return false;
    const ComPtr<IMFSample> sample = std::move(m_inputs.front());
    m_inputs.pop_front();
    const HRESULT hr = m_transform->ProcessInput(0, sample.Get(), 0);
    if (FAILED(hr)) Fail(hr);
    return true;
}

// The transform is drained, and the sink has done everything when it reports the marker.
bool WritingPlayer::EndStream()
{
    if (!m_bEndOfStream || m_bMarkerPlaced || !m_inputs.empty() || !m_outputs.empty()) return false;
    HRESULT hr = S_OK;
    if (!m_bDrained)
    {
        m_bDrained = true;
        hr = m_transform->ProcessMessage(MFT_MESSAGE_NOTIFY_END_OF_STREAM, 0);
        if (SUCCEEDED(hr)) hr = m_transform->ProcessMessage(MFT_MESSAGE_COMMAND_DRAIN, 0);
    }
    else
    {
        m_bMarkerPlaced = true;
        hr = m_sinkStream->PlaceMarker(MFSTREAMSINK_MARKER_ENDOFSEGMENT, nullptr, nullptr);
    }
    if (FAILED(hr)) Fail(hr);
    return true;
}

}  // namespace mediafoundation
