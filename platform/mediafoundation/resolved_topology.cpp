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

}  // namespace

HRESULT ResolvedTopology::Resolve(const SourceNode& sourceNode, std::unique_ptr<ResolvedTopology>* ppResolved)
{
    std::unique_ptr<ResolvedTopology> resolved(new ResolvedTopology());
    resolved->m_source = sourceNode.m_source.As<IFileSource>();
    HRESULT hr = resolved->m_source ? S_OK : MF_E_TOPO_UNSUPPORTED;
    if (SUCCEEDED(hr)) hr = resolved->ConnectSink(sourceNode.m_next.Get());
    if (SUCCEEDED(hr)) hr = resolved->MakeReader(sourceNode.m_dwStream);
    if (SUCCEEDED(hr)) *ppResolved = std::move(resolved);
    return hr;
}

HRESULT ResolvedTopology::ConnectSink(IMFTopologyNode* pNode)
{
    MF_TOPOLOGY_TYPE type = MF_TOPOLOGY_MAX;
    ComPtr<IUnknown> object;
    HRESULT hr = pNode->GetNodeType(&type);
    if (SUCCEEDED(hr)) hr = type == MF_TOPOLOGY_OUTPUT_NODE ? pNode->GetObject(object.Put()) : MF_E_TOPO_UNSUPPORTED;
    if (FAILED(hr)) return hr;

    m_bLeaveSink = LeavesSink(pNode);
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
