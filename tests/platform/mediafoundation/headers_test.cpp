// The declarations are Windows' own: numbers, GUIDs, and the places of operations in the tables of interfaces.
#include <gtest/gtest.h>

#include <cstring>

#include "dvdmedia.h"
#include "icodecapi.h"
#include "mfapi.h"
#include "mferror.h"
#include "mfidl.h"
#include "mftransform.h"
#include "strmif.h"
#include "uuids.h"

namespace
{

static_assert(MESessionTopologySet == 101 && MESessionStarted == 103 && MESessionPaused == 104);
static_assert(MESessionStopped == 105 && MESessionClosed == 106 && MESessionEnded == 107);
static_assert(MESessionRateChanged == 108 && MESessionTopologyStatus == 111 && MEEndOfPresentation == 211);
static_assert(MF_VERSION == 0x00020070);
static_assert(MF_TOPOLOGY_OUTPUT_NODE == 0 && MF_TOPOLOGY_SOURCESTREAM_NODE == 1 && MF_TOPOLOGY_TRANSFORM_NODE == 2);
static_assert(MEStreamSinkStarted == 301 && MEStreamSinkRequestSample == 305 && MEStreamSinkMarker == 306);
static_assert(MF_ACCESSMODE_READWRITE == 3 && MF_OPENMODE_DELETE_IF_EXIST == 4 && MF_FILEFLAGS_NONE == 0);
static_assert((MFT_ENUM_FLAG_SYNCMFT | MFT_ENUM_FLAG_LOCALMFT | MFT_ENUM_FLAG_SORTANDFILTER) == 0x51);
static_assert(static_cast<std::uint32_t>(MF_E_TRANSFORM_NEED_MORE_INPUT) == 0xc00d6d72);
static_assert(MF_RESOLUTION_MEDIASOURCE == 1 && MF_OBJECT_MEDIASOURCE == 0);
static_assert(static_cast<std::uint32_t>(MF_E_PLATFORM_NOT_INITIALIZED) == 0xc00d36b0);
static_assert(static_cast<std::uint32_t>(MF_E_INVALIDMEDIATYPE) == 0xc00d36b4);
static_assert(static_cast<std::uint32_t>(MF_E_UNSUPPORTED_BYTESTREAM_TYPE) == 0xc00d36c4);
static_assert(static_cast<std::uint32_t>(MF_E_NO_EVENTS_AVAILABLE) == 0xc00d3e80);
static_assert(static_cast<std::uint32_t>(MF_S_MULTIPLE_BEGIN) == 0x000d36d8);
static_assert(static_cast<std::uint32_t>(MF_E_MULTIPLE_BEGIN) == 0xc00d36d9);
static_assert(static_cast<std::uint32_t>(MF_E_MULTIPLE_SUBSCRIBERS) == 0xc00d36da);
static_assert(static_cast<std::uint32_t>(MF_E_SHUTDOWN) == 0xc00d3e85);
static_assert(static_cast<std::uint32_t>(MF_E_TOPO_CODEC_NOT_FOUND) == 0xc00d5212);
static_assert(sizeof(VIDEOINFOHEADER2) == 112 && sizeof(BITMAPINFOHEADER) == 40);
static_assert(offsetof(AM_MEDIA_TYPE, formattype) == 44 && offsetof(AM_MEDIA_TYPE, pbFormat) == 80);

// The place of a virtual operation in its table. A pointer to one holds 1 + its offset.
template <typename Method>
int SlotOf(Method method)
{
    std::ptrdiff_t nPointer = 0;
    std::memcpy(&nPointer, &method, sizeof(nPointer));
    return static_cast<int>((nPointer - 1) / static_cast<std::ptrdiff_t>(sizeof(void*)));
}

TEST(MediaHeaders, OperationsStandWhereWindowsHasThem)
{
    EXPECT_EQ(SlotOf(&IMFAttributes::GetItem), 3);
    EXPECT_EQ(SlotOf(&IMFAttributes::GetUINT32), 7);
    EXPECT_EQ(SlotOf(&IMFAttributes::GetUnknown), 17);
    EXPECT_EQ(SlotOf(&IMFAttributes::SetUINT32), 21);
    EXPECT_EQ(SlotOf(&IMFAttributes::SetGUID), 24);
    EXPECT_EQ(SlotOf(&IMFAttributes::SetUnknown), 27);
    EXPECT_EQ(SlotOf(&IMFAttributes::CopyAllItems), 32);
    EXPECT_EQ(SlotOf(&IMFMediaType::GetMajorType), 33);
    EXPECT_EQ(SlotOf(&IMFMediaType::GetRepresentation), 36);
    EXPECT_EQ(SlotOf(&IMFMediaType::FreeRepresentation), 37);
    EXPECT_EQ(SlotOf(&IMFMediaBuffer::Lock), 3);
    EXPECT_EQ(SlotOf(&IMFMediaBuffer::GetMaxLength), 7);
    EXPECT_EQ(SlotOf(&IMFSample::GetSampleFlags), 33);
    EXPECT_EQ(SlotOf(&IMFSample::SetSampleDuration), 38);
    EXPECT_EQ(SlotOf(&IMFSample::ConvertToContiguousBuffer), 41);
    EXPECT_EQ(SlotOf(&IMFSample::CopyToBuffer), 46);
    EXPECT_EQ(SlotOf(&IMFMediaEvent::GetType), 33);
    EXPECT_EQ(SlotOf(&IMFMediaEvent::GetStatus), 35);
    EXPECT_EQ(SlotOf(&IMFMediaEventGenerator::GetEvent), 3);
    EXPECT_EQ(SlotOf(&IMFMediaEventGenerator::QueueEvent), 6);
    EXPECT_EQ(SlotOf(&IMFMediaEventQueue::GetEvent), 3);
    EXPECT_EQ(SlotOf(&IMFMediaEventQueue::QueueEventParamUnk), 8);
    EXPECT_EQ(SlotOf(&IMFMediaEventQueue::Shutdown), 9);
    EXPECT_EQ(SlotOf(&IMFActivate::ActivateObject), 33);
    EXPECT_EQ(SlotOf(&IMFActivate::DetachObject), 35);
    EXPECT_EQ(SlotOf(&IMFSourceResolver::CreateObjectFromURL), 3);
    EXPECT_EQ(SlotOf(&IMFSourceResolver::CancelObjectCreation), 9);
    EXPECT_EQ(SlotOf(&IMFMediaTypeHandler::GetMediaTypeCount), 4);
    EXPECT_EQ(SlotOf(&IMFMediaTypeHandler::GetMediaTypeByIndex), 5);
    EXPECT_EQ(SlotOf(&IMFMediaTypeHandler::GetMajorType), 8);
    EXPECT_EQ(SlotOf(&IMFStreamDescriptor::GetMediaTypeHandler), 34);
    EXPECT_EQ(SlotOf(&IMFPresentationDescriptor::GetStreamDescriptorCount), 33);
    EXPECT_EQ(SlotOf(&IMFPresentationDescriptor::DeselectStream), 36);
    EXPECT_EQ(SlotOf(&IMFPresentationDescriptor::Clone), 37);
    EXPECT_EQ(SlotOf(&IMFMediaSource::CreatePresentationDescriptor), 8);
    EXPECT_EQ(SlotOf(&IMFMediaSource::Shutdown), 12);
    EXPECT_EQ(SlotOf(&IMFMediaStream::GetMediaSource), 7);
    EXPECT_EQ(SlotOf(&IMFMediaStream::RequestSample), 9);
    EXPECT_EQ(SlotOf(&IMFTopologyNode::SetObject), 33);
    EXPECT_EQ(SlotOf(&IMFTopologyNode::ConnectOutput), 40);
    EXPECT_EQ(SlotOf(&IMFTopologyNode::CloneFrom), 48);
    EXPECT_EQ(SlotOf(&IMFTopology::AddNode), 34);
    EXPECT_EQ(SlotOf(&IMFTopology::GetOutputNodeCollection), 42);
    EXPECT_EQ(SlotOf(&IMFMediaSession::SetTopology), 7);
    EXPECT_EQ(SlotOf(&IMFMediaSession::Start), 9);
    EXPECT_EQ(SlotOf(&IMFMediaSession::Shutdown), 13);
    EXPECT_EQ(SlotOf(&IMFMediaSession::GetFullTopology), 16);
    EXPECT_EQ(SlotOf(&IMFClockStateSink::OnClockStart), 3);
    EXPECT_EQ(SlotOf(&IMFClockStateSink::OnClockSetRate), 7);
    EXPECT_EQ(SlotOf(&IMFSampleGrabberSinkCallback::OnSetPresentationClock), 8);
    EXPECT_EQ(SlotOf(&IMFSampleGrabberSinkCallback::OnProcessSample), 9);
    EXPECT_EQ(SlotOf(&IMFSampleGrabberSinkCallback::OnShutdown), 10);
    EXPECT_EQ(SlotOf(&IMFGetService::GetService), 3);
    EXPECT_EQ(SlotOf(&IMFRateControl::SetRate), 3);
    EXPECT_EQ(SlotOf(&IMFTransform::GetStreamLimits), 3);
    EXPECT_EQ(SlotOf(&IMFTransform::SetInputType), 15);
    EXPECT_EQ(SlotOf(&IMFTransform::SetOutputType), 16);
    EXPECT_EQ(SlotOf(&IMFTransform::ProcessMessage), 23);
    EXPECT_EQ(SlotOf(&IMFTransform::ProcessOutput), 25);
    EXPECT_EQ(SlotOf(&ICodecAPI::SetValue), 9);
    EXPECT_EQ(SlotOf(&ICodecAPI::SetAllSettingsWithNotify), 17);
    EXPECT_EQ(SlotOf(&IMFByteStream::Write), 12);
    EXPECT_EQ(SlotOf(&IMFByteStream::Close), 17);
    EXPECT_EQ(SlotOf(&IMFMediaSink::GetStreamSinkCount), 6);
    EXPECT_EQ(SlotOf(&IMFMediaSink::Shutdown), 11);
    EXPECT_EQ(SlotOf(&IMFFinalizableMediaSink::BeginFinalize), 12);
    EXPECT_EQ(SlotOf(&IMFFinalizableMediaSink::EndFinalize), 13);
    EXPECT_EQ(SlotOf(&IMFStreamSink::ProcessSample), 10);
    EXPECT_EQ(SlotOf(&IMFStreamSink::Flush), 12);
}

TEST(MediaHeaders, FormatsAreNamedByTheirFourCharacters)
{
    const auto hasName = [](REFGUID guid, const char* pszName) {
        const GUID family = MFVideoFormat_Base;
        return std::memcmp(&guid.Data1, pszName, 4) == 0 && std::memcmp(&guid.Data2, &family.Data2, 12) == 0;
    };
    EXPECT_TRUE(hasName(MFVideoFormat_H264, "H264"));
    EXPECT_TRUE(hasName(MFVideoFormat_YUY2, "YUY2"));
    EXPECT_TRUE(hasName(MFVideoFormat_NV12, "NV12"));
    EXPECT_TRUE(hasName(MFVideoFormat_MP4V, "MP4V"));
    EXPECT_TRUE(hasName(MFVideoFormat_MP4S, "MP4S"));
    EXPECT_TRUE(hasName(MFVideoFormat_M4S2, "M4S2"));
    EXPECT_TRUE(hasName(MFVideoFormat_WVC1, "WVC1"));
    EXPECT_TRUE(hasName(MFMediaType_Video, "vids"));
    EXPECT_TRUE(hasName(MFMediaType_Audio, "auds"));
    EXPECT_EQ(MFVideoFormat_RGB32.Data1, 22U);
}

}  // namespace
