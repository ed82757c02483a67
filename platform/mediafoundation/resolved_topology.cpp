#include "platform/mediafoundation/resolved_topology.h"

#include <optional>

#include "mfapi.h"
#include "mferror.h"
#include "platform/mediafoundation/reading/packet_reader.h"
#include "platform/mediafoundation/reading/video_reader.h"

namespace mediafoundation
{
namespace
{

using platform::ComPtr;

std::optional<RawFormat> RawFormatOf(REFGUID subtype)
{
    if (subtype == MFVideoFormat_YUY2) return RawFormat::Yuy2;
    if (subtype == MFVideoFormat_NV12) return RawFormat::Nv12;
    if (subtype == MFVideoFormat_RGB32) return RawFormat::Rgb32;
    return std::nullopt;
}

// The first source node of the topology that leads somewhere.
HRESULT FindSource(IMFTopology* pTopology, ComPtr<IMFTopologyNode>* pSource, ComPtr<IMFTopologyNode>* pOutput)
{
    WORD wCount = 0;
    HRESULT hr = pTopology->GetNodeCount(&wCount);
    for (WORD i = 0; SUCCEEDED(hr) && i < wCount; ++i)
    {
        ComPtr<IMFTopologyNode> node;
        hr = pTopology->GetNode(i, node.Put());
        MF_TOPOLOGY_TYPE type = MF_TOPOLOGY_MAX;
        DWORD dwInput = 0;
        if (SUCCEEDED(hr)) hr = node->GetNodeType(&type);
        if (SUCCEEDED(hr) && type == MF_TOPOLOGY_SOURCESTREAM_NODE &&
            SUCCEEDED(node->GetOutput(0, pOutput->Put(), &dwInput)))
        {
            *pSource = std::move(node);
            return S_OK;
        }
    }
    return FAILED(hr) ? hr : MF_E_TOPO_MISSING_SOURCE;
}

HRESULT RequireSelected(IMFPresentationDescriptor* pPresentation, DWORD dwStream)
{
    DWORD dwCount = 0;
    HRESULT hr = pPresentation->GetStreamDescriptorCount(&dwCount);
    for (DWORD i = 0; SUCCEEDED(hr) && i < dwCount; ++i)
    {
        BOOL fSelected = FALSE;
        DWORD dwIdentifier = 0;
        ComPtr<IMFStreamDescriptor> stream;
        hr = pPresentation->GetStreamDescriptorByIndex(i, &fSelected, stream.Put());
        if (SUCCEEDED(hr)) hr = stream->GetStreamIdentifier(&dwIdentifier);
        if (SUCCEEDED(hr) && dwIdentifier == dwStream)
        {
            return fSelected ? S_OK : MF_E_TOPO_STREAM_DESCRIPTOR_NOT_SELECTED;
        }
    }
    return FAILED(hr) ? hr : MF_E_TOPO_MISSING_STREAM_DESCRIPTOR;
}

}  // namespace

HRESULT ResolvedTopology::Resolve(IMFTopology* pTopology, std::unique_ptr<ResolvedTopology>* ppResolved)
{
    ComPtr<IMFTopologyNode> sourceNode;
    ComPtr<IMFTopologyNode> outputNode;
    HRESULT hr = FindSource(pTopology, &sourceNode, &outputNode);
    if (FAILED(hr)) return hr;

    std::unique_ptr<ResolvedTopology> resolved(new ResolvedTopology());
    DWORD dwStream = 0;
    hr = resolved->ConnectSource(sourceNode.Get(), &dwStream);
    if (SUCCEEDED(hr)) hr = resolved->ConnectSink(outputNode.Get());
    if (SUCCEEDED(hr)) hr = resolved->MakeReader(dwStream);
    if (SUCCEEDED(hr)) *ppResolved = std::move(resolved);
    return hr;
}

HRESULT ResolvedTopology::ConnectSource(IMFTopologyNode* pNode, DWORD* pdwStream)
{
    ComPtr<IMFMediaSource> source;
    ComPtr<IMFPresentationDescriptor> presentation;
    ComPtr<IMFStreamDescriptor> stream;
    if (FAILED(pNode->GetUnknown(MF_TOPONODE_SOURCE, IID_IMFMediaSource, source.PutVoid())))
    {
        return MF_E_TOPO_MISSING_SOURCE;
    }
    if (FAILED(pNode->GetUnknown(MF_TOPONODE_PRESENTATION_DESCRIPTOR, IID_IMFPresentationDescriptor,
                                 presentation.PutVoid())))
    {
        return MF_E_TOPO_MISSING_PRESENTATION_DESCRIPTOR;
    }
    if (FAILED(pNode->GetUnknown(MF_TOPONODE_STREAM_DESCRIPTOR, IID_IMFStreamDescriptor, stream.PutVoid())))
    {
        return MF_E_TOPO_MISSING_STREAM_DESCRIPTOR;
    }
    const HRESULT hr = stream->GetStreamIdentifier(pdwStream);
    if (FAILED(hr)) return hr;
    m_source = source.As<IFileSource>();
    return m_source ? RequireSelected(presentation.Get(), *pdwStream) : MF_E_TOPO_UNSUPPORTED;
}

HRESULT ResolvedTopology::ConnectSink(IMFTopologyNode* pNode)
{
    MF_TOPOLOGY_TYPE type = MF_TOPOLOGY_MAX;
    ComPtr<IUnknown> object;
    HRESULT hr = pNode->GetNodeType(&type);
    if (SUCCEEDED(hr)) hr = type == MF_TOPOLOGY_OUTPUT_NODE ? pNode->GetObject(object.Put()) : MF_E_TOPO_UNSUPPORTED;
    if (FAILED(hr)) return hr;

    UINT32 unLeave = 0;
    (void)pNode->GetUINT32(MF_TOPONODE_NOSHUTDOWN_ON_REMOVE, &unLeave);
    m_bLeaveSink = unLeave != 0;
    m_activate = object.As<IMFActivate>();
    if (!m_activate) return MF_E_TOPO_UNSUPPORTED;
    hr = m_activate->ActivateObject(IID_IGrabberSink, m_sink.PutVoid());
    return hr == E_NOINTERFACE ? MF_E_TOPO_UNSUPPORTED : hr;
}

HRESULT ResolvedTopology::MakeReader(DWORD dwStream)
{
    std::shared_ptr<ContainerFile> file;
    HRESULT hr = m_source->BorrowFile(&file);
    if (FAILED(hr)) return hr;
    if (dwStream >= file->Streams().size()) return MF_E_TOPO_MISSING_STREAM_DESCRIPTOR;

    GUID majorType = GUID_NULL;
    GUID subtype = GUID_NULL;
    hr = m_sink->Type()->GetMajorType(&majorType);
    if (SUCCEEDED(hr)) hr = m_sink->Type()->GetGUID(MF_MT_SUBTYPE, &subtype);
    if (FAILED(hr)) return MF_E_INVALIDMEDIATYPE;
    const StreamFormat& format = file->Streams()[dwStream];
    if (majorType != format.m_majorType) return MF_E_INVALIDMEDIATYPE;
    m_majorType = majorType;
    if (subtype == format.m_subtype)
    {
        m_reader = std::make_unique<PacketReader>(std::move(file), dwStream);
        return S_OK;
    }
    const auto rawFormat = majorType == MFMediaType_Video ? RawFormatOf(subtype) : std::nullopt;
    return rawFormat ? VideoReader::Create(std::move(file), dwStream, *rawFormat, &m_reader) : MF_E_INVALIDMEDIATYPE;
}

ResolvedTopology::~ResolvedTopology()
{
    m_reader.reset();
    if (!m_activate) return;
    if (m_bLeaveSink)
    {
        (void)m_activate->DetachObject();
    }
    else
    {
        (void)m_activate->ShutdownObject();
    }
}

}  // namespace mediafoundation
