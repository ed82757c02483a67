#include "test_graph.h"

#include "propvarutil.h"
#include "windows.h"

namespace mftest
{

void TestGrabber::SetHook(Hook hook)
{
    const std::lock_guard lock(m_lock);
    m_hook = std::move(hook);
}

void TestGrabber::SetAnswer(HRESULT hr)
{
    const std::lock_guard lock(m_lock);
    m_hrAnswer = hr;
}

std::vector<GrabbedSample> TestGrabber::TakeSamples()
{
    const std::lock_guard lock(m_lock);
    return std::exchange(m_samples, {});
}

std::size_t TestGrabber::Count() const
{
    const std::lock_guard lock(m_lock);
    return m_uiCount;
}

std::vector<std::string> TestGrabber::Calls() const
{
    const std::lock_guard lock(m_lock);
    return m_calls;
}

HRESULT TestGrabber::OnProcessSample(REFGUID, DWORD, LONGLONG llSampleTime, LONGLONG llSampleDuration,
                                     const BYTE* pSampleBuffer, DWORD dwSampleSize)
{
    Hook hook;
    std::size_t uiCount = 0;
    {
        const std::lock_guard lock(m_lock);
        m_samples.push_back(
            {std::string(reinterpret_cast<const char*>(pSampleBuffer), dwSampleSize), llSampleTime, llSampleDuration});
        uiCount = ++m_uiCount;
        hook = m_hook;
    }
    if (hook) hook(uiCount);
    const std::lock_guard lock(m_lock);
    return m_hrAnswer;
}

HRESULT TestGrabber::Note(const char* pszCall)
{
    const std::lock_guard lock(m_lock);
    m_calls.emplace_back(pszCall);
    return S_OK;
}

std::wstring Widen(const std::string& path)
{
    const int nBytes = static_cast<int>(path.size());
    std::wstring wide(path.size(), L'\0');
    wide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_UTF8, 0, path.data(), nBytes, wide.data(), static_cast<int>(wide.size()))));
    return wide;
}

TestGraph::TestGraph()
{
    MFStartup(MF_VERSION);
}

TestGraph::~TestGraph()
{
    if (m_source) m_source->Shutdown();
    if (m_session) m_session->Shutdown();
    ReleaseAll();
    MFShutdown();
}

void TestGraph::ReleaseAll()
{
    m_session = nullptr;
    m_source = nullptr;
    m_grabber = nullptr;
    m_activate = nullptr;
    m_topology = nullptr;
}

HRESULT TestGraph::OpenSource(const std::string& path)
{
    ComPtr<IMFSourceResolver> resolver;
    HRESULT hr = MFCreateSourceResolver(resolver.Put());
    if (FAILED(hr)) return hr;
    ComPtr<IUnknown> object;
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    hr = resolver->CreateObjectFromURL(Widen(path).c_str(), MF_RESOLUTION_MEDIASOURCE, nullptr, &type, object.Put());
    if (FAILED(hr)) return hr;
    return object->QueryInterface(IID_IMFMediaSource, m_source.PutVoid());
}

HRESULT TestGraph::BuildTopology(REFGUID subtype, bool bNoShutdown)
{
    ComPtr<IMFMediaType> type;
    HRESULT hr = MFCreateMediaType(type.Put());
    if (SUCCEEDED(hr)) hr = type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    if (SUCCEEDED(hr)) hr = type->SetGUID(MF_MT_SUBTYPE, subtype);
    m_grabber = ComPtr<TestGrabber>::Attach(new TestGrabber());
    if (SUCCEEDED(hr)) hr = MFCreateSampleGrabberSinkActivate(type.Get(), m_grabber.Get(), m_activate.Put());
    if (SUCCEEDED(hr)) hr = m_activate->SetUINT32(MF_SAMPLEGRABBERSINK_IGNORE_CLOCK, 1);
    if (SUCCEEDED(hr)) hr = MFCreateTopology(m_topology.Put());

    ComPtr<IMFPresentationDescriptor> presentation;
    if (SUCCEEDED(hr)) hr = m_source->CreatePresentationDescriptor(presentation.Put());
    DWORD dwCount = 0;
    if (SUCCEEDED(hr)) hr = presentation->GetStreamDescriptorCount(&dwCount);
    for (DWORD i = 0; SUCCEEDED(hr) && i < dwCount; ++i)
    {
        BOOL fSelected = FALSE;
        ComPtr<IMFStreamDescriptor> stream;
        ComPtr<IMFMediaTypeHandler> handler;
        GUID majorType = GUID_NULL;
        hr = presentation->GetStreamDescriptorByIndex(i, &fSelected, stream.Put());
        if (SUCCEEDED(hr)) hr = stream->GetMediaTypeHandler(handler.Put());
        if (SUCCEEDED(hr)) hr = handler->GetMajorType(&majorType);
        if (FAILED(hr) || majorType != MFMediaType_Video)
        {
            presentation->DeselectStream(i);
            continue;
        }
        ComPtr<IMFTopologyNode> sourceNode;
        ComPtr<IMFTopologyNode> outputNode;
        hr = MFCreateTopologyNode(MF_TOPOLOGY_SOURCESTREAM_NODE, sourceNode.Put());
        if (SUCCEEDED(hr)) hr = sourceNode->SetUnknown(MF_TOPONODE_SOURCE, m_source.Get());
        if (SUCCEEDED(hr)) hr = sourceNode->SetUnknown(MF_TOPONODE_PRESENTATION_DESCRIPTOR, presentation.Get());
        if (SUCCEEDED(hr)) hr = sourceNode->SetUnknown(MF_TOPONODE_STREAM_DESCRIPTOR, stream.Get());
        if (SUCCEEDED(hr)) hr = m_topology->AddNode(sourceNode.Get());
        if (SUCCEEDED(hr)) hr = MFCreateTopologyNode(MF_TOPOLOGY_OUTPUT_NODE, outputNode.Put());
        if (SUCCEEDED(hr)) hr = outputNode->SetObject(m_activate.Get());
        if (SUCCEEDED(hr)) hr = outputNode->SetUINT32(MF_TOPONODE_NOSHUTDOWN_ON_REMOVE, bNoShutdown ? 1 : 0);
        if (SUCCEEDED(hr)) hr = m_topology->AddNode(outputNode.Get());
        if (SUCCEEDED(hr)) hr = sourceNode->ConnectOutput(0, outputNode.Get(), 0);
        return hr;
    }
    return FAILED(hr) ? hr : MF_E_NOT_FOUND;
}

HRESULT TestGraph::Open(const std::string& path, REFGUID subtype)
{
    HRESULT hr = OpenSource(path);
    if (SUCCEEDED(hr)) hr = BuildTopology(subtype);
    if (SUCCEEDED(hr)) hr = MFCreateMediaSession(nullptr, m_session.Put());
    if (SUCCEEDED(hr)) hr = m_session->SetTopology(0, m_topology.Get());
    return hr;
}

HRESULT TestGraph::Start()
{
    PROPVARIANT position;
    PropVariantInit(&position);
    return m_session->Start(&GUID_NULL, &position);
}

HRESULT TestGraph::StartAt(std::int64_t nMilliseconds)
{
    PROPVARIANT position;
    InitPropVariantFromInt64(nMilliseconds * 10000, &position);
    return m_session->Start(&GUID_NULL, &position);
}

HRESULT TestGraph::SetRate(float fRate)
{
    ComPtr<IMFRateControl> rate;
    const HRESULT hr = MFGetService(m_session.Get(), MF_RATE_CONTROL_SERVICE, IID_IMFRateControl, rate.PutVoid());
    return FAILED(hr) ? hr : rate->SetRate(FALSE, fRate);
}

TestGraph::Event TestGraph::NextEvent(DWORD dwFlags)
{
    Event event;
    ComPtr<IMFMediaEvent> got;
    event.m_hrGet = m_session->GetEvent(dwFlags, got.Put());
    if (FAILED(event.m_hrGet)) return event;
    got->GetType(&event.m_type);
    got->GetStatus(&event.m_hrStatus);
    return event;
}

HRESULT TestGraph::WaitFor(MediaEventType type)
{
    for (;;)
    {
        const Event event = NextEvent();
        if (FAILED(event.m_hrGet)) return event.m_hrGet;
        if (event.m_type == type) return event.m_hrStatus;
    }
}

std::vector<GrabbedSample> TestGraph::PlayFrom(std::int64_t nMilliseconds, std::size_t uiSamples)
{
    (void)m_grabber->TakeSamples();
    const std::size_t uiBefore = m_grabber->Count();
    IMFMediaSession* pSession = m_session.Get();
    m_grabber->SetHook([=](std::size_t uiCount) {
        if (uiCount == uiBefore + uiSamples) pSession->Pause();
    });
    StartAt(nMilliseconds);
    for (;;)
    {
        const Event event = NextEvent();
        const bool bDone = FAILED(event.m_hrGet) || event.m_type == MESessionEnded ||
                           (event.m_type == MESessionPaused && SUCCEEDED(event.m_hrStatus));
        if (bDone) break;
    }
    m_grabber->SetHook(nullptr);
    return m_grabber->TakeSamples();
}

}  // namespace mftest
