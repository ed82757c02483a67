// The topology of a file that is written, on objects that record what they are asked.
#include "mp4_outputfile/writetopology.h"

#include <atomic>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mfapi.h>
#include <mferror.h>

#include "common/modulestate.h"
#include "idle_encoder.h"
#include "recorded_topology.h"

namespace
{

using testing::ElementsAreArray;

class CIdleStreamSink : public IMFStreamSink
{
public:
    virtual ~CIdleStreamSink() = default;

    STDMETHODIMP QueryInterface(REFIID, void** ppObject) override
    {
        *ppObject = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override { return --m_nRefCount; }
    STDMETHODIMP GetEvent(DWORD, IMFMediaEvent**) override { return E_NOTIMPL; }
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback*, IUnknown*) override { return E_NOTIMPL; }
    STDMETHODIMP EndGetEvent(IMFAsyncResult*, IMFMediaEvent**) override { return E_NOTIMPL; }
    STDMETHODIMP QueueEvent(MediaEventType, REFGUID, HRESULT, const PROPVARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetMediaSink(IMFMediaSink**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIdentifier(DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetMediaTypeHandler(IMFMediaTypeHandler**) override { return E_NOTIMPL; }
    STDMETHODIMP ProcessSample(IMFSample*) override { return E_NOTIMPL; }
    STDMETHODIMP PlaceMarker(MFSTREAMSINK_MARKER_TYPE, const PROPVARIANT*, const PROPVARIANT*) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP Flush() override { return E_NOTIMPL; }

    std::atomic<ULONG> m_nRefCount{1};
};

using Calls = std::vector<std::string>;

// Up to the source's streams.
const Calls g_vFirstCalls = {"MFCreateTopology", "source: CreatePresentationDescriptor",
                             "presentation: GetStreamDescriptorCount"};

// A stream is looked at.
Calls LooksAt(int nStream)
{
    const std::string strNumber = std::to_string(nStream);
    return {"presentation: GetStreamDescriptorByIndex " + strNumber, "stream " + strNumber + ": GetMediaTypeHandler",
            "handler of stream " + strNumber + ": GetMajorType"};
}

// The source's node for a stream.
Calls MakesSourceNode(int nStream)
{
    return {"MFCreateTopologyNode source node",
            "source node: SetUnknown MF_TOPONODE_SOURCE source",
            "source node: SetUnknown MF_TOPONODE_PRESENTATION_DESCRIPTOR presentation",
            "source node: SetUnknown MF_TOPONODE_STREAM_DESCRIPTOR stream " + std::to_string(nStream),
            "source node: SetUINT32 MF_TOPONODE_WORKQUEUE_ID 4711",
            "topology: AddNode source node"};
}

const Calls g_vTransformNode = {"MFCreateTopologyNode transform node", "transform node: SetObject encoder",
                                "topology: AddNode transform node"};
const Calls g_vOutputNode = {"MFCreateTopologyNode output node", "output node: SetObject stream sink",
                             "topology: AddNode output node",
                             "output node: SetUINT32 MF_TOPONODE_NOSHUTDOWN_ON_REMOVE 1"};
const Calls g_vConnections = {"source node: ConnectOutput 0 to transform node 0",
                              "transform node: ConnectOutput 0 to output node 0"};

Calls Join(const std::vector<Calls>& vParts)
{
    Calls vAll;
    for (const Calls& vPart : vParts)
        vAll.insert(vAll.end(), vPart.begin(), vPart.end());
    return vAll;
}

class WriteTopology : public testing::Test
{
protected:
    WriteTopology() { g_uiInputFileCount = 4711; }
    ~WriteTopology() override { g_uiInputFileCount = m_uiFilesBefore; }

    // The result, and what was asked. Nothing is left afterwards.
    HRESULT Build(CTopologyRecord& record)
    {
        record.Name(static_cast<IMFTransform*>(&m_encoder), "encoder");
        record.Name(&m_streamSink, "stream sink");
        IMFTopology* const pUntouched = reinterpret_cast<IMFTopology*>(&record);
        IMFTopology* pTopology = pUntouched;
        const HRESULT hr = BuildWriteTopology(record.Source(), m_bEncoder ? &m_encoder : nullptr,
                                              m_bStreamSink ? &m_streamSink : nullptr, &pTopology);
        if (SUCCEEDED(hr))
        {
            EXPECT_EQ(record.NameOf(pTopology), "topology");
            EXPECT_EQ(pTopology->Release(), 0U);
        }
        else
        {
            EXPECT_EQ(pTopology, pUntouched);
        }
        EXPECT_EQ(record.m_nObjects, 0) << "topologies, nodes or descriptors";
        EXPECT_EQ(record.CountSourceReferences(), 1U);
        EXPECT_EQ(m_encoder.m_nRefCount, 1U);
        EXPECT_EQ(m_streamSink.m_nRefCount, 1U);
        return hr;
    }

    bool m_bEncoder = true;
    bool m_bStreamSink = true;
    CIdleEncoder m_encoder;
    CIdleStreamSink m_streamSink;

private:
    const unsigned m_uiFilesBefore = g_uiInputFileCount;
};

TEST_F(WriteTopology, HasSourceEncoderAndSinkConnectedInThisOrder)
{
    CTopologyRecord record({{true, MFMediaType_Video}});
    EXPECT_EQ(Build(record), S_OK);
    EXPECT_THAT(record.m_vCalls, ElementsAreArray(Join({g_vFirstCalls, LooksAt(0), MakesSourceNode(0), g_vTransformNode,
                                                        g_vOutputNode, g_vConnections})));
}

TEST_F(WriteTopology, TakesTheFirstSelectedVideoStreamAndDeselectsThoseBeforeIt)
{
    CTopologyRecord record({{false, MFMediaType_Video},
                            {true, MFMediaType_Audio},
                            {true, MFMediaType_Video},
                            {true, MFMediaType_Video},
                            {true, MFMediaType_Audio}});
    EXPECT_EQ(Build(record), S_OK);
    EXPECT_THAT(record.m_vCalls, ElementsAreArray(Join({g_vFirstCalls,
                                                        LooksAt(0),
                                                        {"presentation: DeselectStream 0"},
                                                        LooksAt(1),
                                                        {"presentation: DeselectStream 1"},
                                                        LooksAt(2),
                                                        MakesSourceNode(2),
                                                        g_vTransformNode,
                                                        g_vOutputNode,
                                                        g_vConnections})));
}

TEST_F(WriteTopology, OfASourceWithoutStreamsIsEmpty)
{
    CTopologyRecord record({});
    EXPECT_EQ(Build(record), S_OK);
    EXPECT_THAT(record.m_vCalls, ElementsAreArray(g_vFirstCalls));
}

TEST_F(WriteTopology, OfASourceWithoutASelectedVideoStreamIsEmpty)
{
    CTopologyRecord record({{true, MFMediaType_Audio}, {false, MFMediaType_Video}});
    EXPECT_EQ(Build(record), S_OK);
    EXPECT_THAT(record.m_vCalls, ElementsAreArray(Join({g_vFirstCalls,
                                                        LooksAt(0),
                                                        {"presentation: DeselectStream 0"},
                                                        LooksAt(1),
                                                        {"presentation: DeselectStream 1"}})));
}

TEST_F(WriteTopology, WithoutAnEncoderTheSourceCannotBeConnected)
{
    m_bEncoder = false;
    m_bStreamSink = false;
    CTopologyRecord record({{true, MFMediaType_Video}});
    EXPECT_EQ(Build(record), E_INVALIDARG);
    EXPECT_THAT(record.m_vCalls,
                ElementsAreArray(Join(
                    {g_vFirstCalls, LooksAt(0), MakesSourceNode(0), {"source node: ConnectOutput 0 to nothing 0"}})));
}

TEST_F(WriteTopology, WithoutASinkTheEncoderCannotBeConnected)
{
    m_bStreamSink = false;
    CTopologyRecord record({{true, MFMediaType_Video}});
    EXPECT_EQ(Build(record), E_INVALIDARG);
    EXPECT_EQ(record.m_vCalls.back(), "transform node: ConnectOutput 0 to nothing 0");
}

// With a stream that is deselected and one that is used, every kind of call is among them.
TEST_F(WriteTopology, EachStepThatFailsEndsItWithThatFailureAndLeavesNothing)
{
    const std::vector<SRecordedStream> vStreams = {{true, MFMediaType_Audio}, {true, MFMediaType_Video}};
    const Calls vAll = Join({g_vFirstCalls,
                             LooksAt(0),
                             {"presentation: DeselectStream 0"},
                             LooksAt(1),
                             MakesSourceNode(1),
                             g_vTransformNode,
                             g_vOutputNode,
                             g_vConnections});
    for (std::size_t ui = 0; ui < vAll.size(); ++ui)
    {
        SCOPED_TRACE(vAll[ui]);
        const auto hrFailed = static_cast<HRESULT>(0xC00D0000U + ui);
        CTopologyRecord record(vStreams);
        record.FailCall(ui, hrFailed);
        EXPECT_EQ(Build(record), hrFailed);
        EXPECT_THAT(record.m_vCalls, ElementsAreArray(vAll.data(), ui + 1));
    }
}

}  // namespace
