// A topology turned into what the session plays: samples from a source's stream into a callback.
#pragma once

#include <memory>

#include "mfidl.h"
#include "platform/com/com_ptr.h"
#include "platform/mediafoundation/file_source.h"
#include "platform/mediafoundation/grabber_sink.h"
#include "platform/mediafoundation/reading/sample_reader.h"
#include "platform/mediafoundation/source_node.h"

namespace mediafoundation
{

// Releases the source's file and shuts the sink down when it goes, the latter unless the output node asks to leave it
// (MF_TOPONODE_NOSHUTDOWN_ON_REMOVE).
class ResolvedTopology
{
public:
    // The source node, whose source is that of a file, is connected to an output node. Puts a decoder between them if
    // the sink's type asks for one: a sink of the stream's own compressed format gets its packets, one of YUY2, NV12 or
    // RGB32 gets decoded pictures. Any other combination is refused with a failing status.
    static HRESULT Resolve(const SourceNode& sourceNode, std::unique_ptr<ResolvedTopology>* ppResolved);
    ~ResolvedTopology();
    ResolvedTopology(const ResolvedTopology&) = delete;
    ResolvedTopology& operator=(const ResolvedTopology&) = delete;

    SampleReader& Reader() { return *m_reader; }
    IFileSource& Source() { return *m_source; }
    IMFSampleGrabberSinkCallback& Callback() { return *m_sink->Callback(); }
    const GUID& MajorType() const { return m_majorType; }

private:
    ResolvedTopology() = default;
    HRESULT ConnectSink(IMFTopologyNode* pNode);
    HRESULT MakeReader(DWORD dwStream);

    platform::ComPtr<IFileSource> m_source;
    platform::ComPtr<IMFActivate> m_activate;
    platform::ComPtr<IGrabberSink> m_sink;
    bool m_bLeaveSink = false;
    GUID m_majorType = {};
    std::unique_ptr<SampleReader> m_reader;
};

}  // namespace mediafoundation
