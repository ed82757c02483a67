// Frames in, packets out.
#include "nvenc_fixture.h"

#include <limits>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
class FramesTest : public NvencTest
{
protected:
    // Sends one frame and gives the packets that came with it.
    static Packets Send(NvEncoder& encoder)
    {
        Packets vPacket = {{9, 9}};  // has to be emptied
        encoder.EncodeFrame(vPacket);
        return vPacket;
    }
    static Packets End(NvEncoder& encoder)
    {
        Packets vPacket = {{9, 9}};
        encoder.EndEncode(vPacket);
        return vPacket;
    }
    static Packets PacketsOf(std::int32_t iFirst, std::int32_t iPast)
    {
        Packets vPacket;
        for (std::int32_t i = iFirst; i < iPast; ++i)
            vPacket.push_back(FakeRuntime::PacketOf(i));
        return vPacket;
    }
};
}  // namespace

TEST_F(FramesTest, ARingOfFourGivesNoPacketThreeTimesAndThenTheOneOfThreeCallsEarlier)
{
    const auto pEncoder = MakeEncoder();
    for (std::int32_t i = 0; i < 3; ++i)
        EXPECT_THAT(Send(*pEncoder), IsEmpty()) << i;
    for (std::int32_t i = 3; i < 23; ++i)
        EXPECT_THAT(Send(*pEncoder), ElementsAre(FakeRuntime::PacketOf(i - 3))) << i;
    EXPECT_EQ(pEncoder->m_iToSend, 23);
    EXPECT_EQ(pEncoder->m_iGot, 20);
}

TEST_F(FramesTest, EndEncodeAfterMoreThanThreeFramesGivesTheLastThree)
{
    for (const std::int32_t nFrames : {4, 5, 9})
    {
        FakeRuntime runtime;
        const auto pEncoder = MakeEncoder();
        for (std::int32_t i = 0; i < nFrames; ++i)
            Send(*pEncoder);
        EXPECT_EQ(End(*pEncoder), PacketsOf(nFrames - 3, nFrames)) << nFrames;
        EXPECT_EQ(pEncoder->m_iGot, pEncoder->m_iToSend);
        EXPECT_THAT(runtime.m_vComplaints, IsEmpty());
    }
}

TEST_F(FramesTest, EndEncodeAfterUpToThreeFramesGivesAll)
{
    for (const std::int32_t nFrames : {1, 2, 3})
    {
        FakeRuntime runtime;
        const auto pEncoder = MakeEncoder();
        for (std::int32_t i = 0; i < nFrames; ++i)
            EXPECT_THAT(Send(*pEncoder), IsEmpty());
        EXPECT_EQ(End(*pEncoder), PacketsOf(0, nFrames)) << nFrames;
        EXPECT_THAT(runtime.m_vComplaints, IsEmpty());
    }
}

TEST_F(FramesTest, EndEncodeWithoutFramesGivesNothingAndSendsTheEndOfStream)
{
    const auto pEncoder = MakeEncoder();
    EXPECT_THAT(End(*pEncoder), IsEmpty());
    ASSERT_EQ(m_runtime.m_vEnds.size(), 1u);
    EXPECT_EQ(m_runtime.m_vEnds[0].encodePicFlags, 8u);
    EXPECT_EQ(m_runtime.m_vEnds[0].inputBuffer, nullptr);
    EXPECT_EQ(m_runtime.m_vEnds[0].outputBitstream, nullptr);
    EXPECT_EQ(m_runtime.m_vEnds[0].completionEvent, pEncoder->m_vpCompletionEvent[0]);
}

TEST_F(FramesTest, TheEndOfStreamSignalsTheEventOfTheNextSlot)
{
    for (const std::int32_t nFrames : {1, 3, 4, 6})
    {
        FakeRuntime runtime;
        const auto pEncoder = MakeEncoder();
        for (std::int32_t i = 0; i < nFrames; ++i)
            Send(*pEncoder);
        End(*pEncoder);
        ASSERT_EQ(runtime.m_vEnds.size(), 1u);
        EXPECT_EQ(runtime.m_vEnds[0].completionEvent,
                  pEncoder->m_vpCompletionEvent[static_cast<std::size_t>(nFrames % 4)])
            << nFrames;
    }
}

TEST_F(FramesTest, AnEndedStreamCanBeEndedAgain)
{
    const auto pEncoder = MakeEncoder();
    Send(*pEncoder);
    EXPECT_EQ(End(*pEncoder).size(), 1u);
    EXPECT_THAT(End(*pEncoder), IsEmpty());
    EXPECT_EQ(m_runtime.m_vEnds.size(), 2u);
}

TEST_F(FramesTest, AnEncoderThatNeedsMoreInputHasTakenTheFrame)
{
    m_runtime.m_nKeptPictures = 2;
    const auto pEncoder = MakeEncoder();
    EXPECT_THAT(Send(*pEncoder), IsEmpty());
    EXPECT_EQ(pEncoder->m_iToSend, 1);
    EXPECT_THAT(Send(*pEncoder), IsEmpty());
    EXPECT_EQ(pEncoder->m_iToSend, 2);
    EXPECT_THAT(Send(*pEncoder), IsEmpty());
    EXPECT_THAT(Send(*pEncoder), ElementsAre(FakeRuntime::PacketOf(0)));
    EXPECT_EQ(End(*pEncoder), PacketsOf(1, 4));
}

TEST_F(FramesTest, TheNextInputFrameGoesRoundTheRing)
{
    const auto pEncoder = MakeEncoder();
    for (std::size_t i = 0; i < 10; ++i)
    {
        EXPECT_EQ(pEncoder->GetNextInputFrame(), &pEncoder->m_vInputFrames[i % 4]) << i;
        EXPECT_EQ(pEncoder->GetNextInputFrame()->inputPtr, pEncoder->m_vSurfaces[i % 4].get()) << i;
        Send(*pEncoder);
    }
}

TEST_F(FramesTest, ASurfaceIsFreeAgainWhenItComesUp)
{
    const auto pEncoder = MakeEncoder();
    for (int i = 0; i < 9; ++i)
    {
        Send(*pEncoder);
        // The surface to be written next is the only one that the encoder never holds.
        EXPECT_EQ(pEncoder->m_vMappedInputBuffers[static_cast<std::size_t>((i + 1) % 4)], nullptr) << i;
        EXPECT_EQ(m_runtime.m_mapMapped.size(), static_cast<std::size_t>(i < 3 ? i + 1 : 3)) << i;
    }
}

TEST_F(FramesTest, APictureGoesOutWithItsSlotsSurfaceBufferAndEvent)
{
    const auto pEncoder = MakeEncoder();
    for (int i = 0; i < 6; ++i)
        Send(*pEncoder);
    ASSERT_EQ(m_runtime.m_vPictures.size(), 6u);
    for (std::size_t i = 0; i < 6; ++i)
    {
        const NV_ENC_PIC_PARAMS& picture = m_runtime.m_vPictures[i];
        EXPECT_EQ(picture.inputWidth, 64u);
        EXPECT_EQ(picture.inputHeight, 48u);
        EXPECT_EQ(picture.inputPitch, 0u);
        EXPECT_EQ(picture.encodePicFlags, 0u);
        EXPECT_EQ(picture.bufferFmt, 0x1000000);
        EXPECT_EQ(picture.pictureStruct, 1);
        EXPECT_EQ(picture.outputBitstream, pEncoder->m_vBitstreamOutputBuffer[i % 4]);
        EXPECT_EQ(picture.completionEvent, pEncoder->m_vpCompletionEvent[i % 4]);
    }
}

TEST_F(FramesTest, TheCallersWishesForAPictureArePassedOn)
{
    const auto pEncoder = MakeEncoder();
    NV_ENC_PIC_PARAMS wishes = {};
    wishes.version = 1;
    wishes.encodePicFlags = NV_ENC_PIC_FLAG_FORCEIDR;
    wishes.inputTimeStamp = 4711;
    wishes.inputWidth = 1;
    wishes.inputHeight = 2;
    wishes.inputBuffer = &wishes;
    wishes.outputBitstream = &wishes;
    wishes.completionEvent = &wishes;
    wishes.bufferFmt = NV_ENC_BUFFER_FORMAT_NV12;
    wishes.pictureStruct = NV_ENC_PIC_STRUCT_FIELD_TOP_BOTTOM;
    Packets vPacket;
    pEncoder->EncodeFrame(vPacket, &wishes);

    ASSERT_EQ(m_runtime.m_vPictures.size(), 1u);
    const NV_ENC_PIC_PARAMS& picture = m_runtime.m_vPictures[0];
    EXPECT_EQ(picture.encodePicFlags, 2u);
    EXPECT_EQ(picture.inputTimeStamp, 4711u);
    EXPECT_EQ(picture.inputWidth, 64u);
    EXPECT_EQ(picture.inputHeight, 48u);
    EXPECT_EQ(picture.inputBuffer, pEncoder->m_vMappedInputBuffers[0]);
    EXPECT_EQ(picture.outputBitstream, pEncoder->m_vBitstreamOutputBuffer[0]);
    EXPECT_EQ(picture.completionEvent, pEncoder->m_vpCompletionEvent[0]);
    EXPECT_EQ(picture.bufferFmt, 0x1000000);
    EXPECT_EQ(picture.pictureStruct, 1);
    EXPECT_EQ(wishes.version, 1u);
}

TEST_F(FramesTest, WithoutOneEventPerSlotPicturesHaveNone)
{
    const auto pEncoder = MakeEncoder();
    const std::vector<void*> vEvents = pEncoder->m_vpCompletionEvent;
    pEncoder->m_vpCompletionEvent.resize(3);
    Send(*pEncoder);
    End(*pEncoder);
    EXPECT_EQ(m_runtime.m_vPictures[0].completionEvent, nullptr);
    EXPECT_EQ(m_runtime.m_vEnds[0].completionEvent, nullptr);
    pEncoder->m_vpCompletionEvent = vEvents;
}

TEST_F(FramesTest, APacketIsReadUnlockedAndItsSurfaceUnmappedInThisOrder)
{
    const auto pEncoder = MakeEncoder();
    for (int i = 0; i < 3; ++i)
        Send(*pEncoder);
    const std::size_t uiBefore = m_runtime.m_vCalls.size();
    Send(*pEncoder);
    EXPECT_THAT(m_runtime.CallsFrom(uiBefore),
                ElementsAre("nvEncMapInputResource", "nvEncEncodePicture", "nvEncLockBitstream", "nvEncUnlockBitstream",
                            "nvEncUnmapInputResource"));
}

TEST_F(FramesTest, AnUnmappedSlotIsNotUnmappedAgain)
{
    const auto pEncoder = MakeEncoder();
    Send(*pEncoder);
    void* const pMapped = pEncoder->m_vMappedInputBuffers[0];
    pEncoder->m_vMappedInputBuffers[0] = nullptr;
    EXPECT_EQ(End(*pEncoder).size(), 1u);
    EXPECT_EQ(m_runtime.Count("nvEncUnmapInputResource"), 0);
    pEncoder->m_vMappedInputBuffers[0] = pMapped;
}

TEST_F(FramesTest, WithEventsEachPacketWaitsForItsOwn)
{
    m_runtime.m_nAsyncSupport = 1;
    m_runtime.m_funcSignal = nullptr;  // the events are set here
    const auto pEncoder = MakeEncoder();
    EXPECT_EQ(pEncoder->m_initializeParams.enableEncodeAsync, 1u);
    const std::vector<void*> vEvents = pEncoder->m_vpCompletionEvent;
    ASSERT_EQ(vEvents.size(), 4u);
    const auto expectThatNoneIsSet = [&] {
        for (void* const hEvent : vEvents)
            EXPECT_EQ(WaitForSingleObject(hEvent, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    };
    // Only the event of the packet that is due is set. The wait for it resets it; a wait for another would run out.
    for (std::size_t i = 0; i < 9; ++i)
    {
        SCOPED_TRACE(i);
        if (i >= 3) SetEvent(vEvents[(i - 3) % 4]);
        Send(*pEncoder);
        expectThatNoneIsSet();
    }
    for (const std::size_t i : {6, 7, 8})
        SetEvent(vEvents[i % 4]);
    EXPECT_EQ(End(*pEncoder), PacketsOf(6, 9));
    expectThatNoneIsSet();
}

TEST_F(FramesTest, BeforeCreateEncoderNothingCanBeSent)
{
    TestEncoder encoder({});
    Packets vPacket = {{1}};
    ExpectFailure([&] { encoder.EncodeFrame(vPacket); }, "NvEncoder::EncodeFrame : Encoder device not found", 1);
    EXPECT_THAT(vPacket, IsEmpty());
    vPacket = {{1}};
    ExpectFailure([&] { encoder.EndEncode(vPacket); }, "NvEncoder::EndEncode : Encoder device not initialized", 11);
    EXPECT_THAT(vPacket, IsEmpty());
    ExpectFailure([&] { encoder.GetNextInputFrame(); }, "NvEncoder::GetNextInputFrame : Encoder device not found", 1);
}

TEST_F(FramesTest, AfterDestroyEncoderNothingCanBeSent)
{
    const auto pEncoder = MakeEncoder();
    pEncoder->DestroyEncoder();
    Packets vPacket;
    ExpectFailure([&] { pEncoder->EncodeFrame(vPacket); }, "NvEncoder::EncodeFrame : Encoder device not found", 1);
    ExpectFailure([&] { pEncoder->EndEncode(vPacket); }, "NvEncoder::EndEncode : Encoder device not initialized", 11);
    ExpectFailure([&] { pEncoder->GetNextInputFrame(); }, "NvEncoder::GetNextInputFrame : Encoder device not found", 1);
}

TEST_F(FramesTest, AfterACreateEncoderThatFailedOnTheWayNothingCanBeSent)
{
    m_runtime.Fail("nvEncRegisterResource", 3, NV_ENC_ERR_GENERIC);
    TestEncoder encoder({});
    FillParams(encoder);
    EXPECT_THROW(encoder.CreateEncoder(&m_params), NVENCException);
    Packets vPacket;
    ExpectFailure([&] { encoder.EncodeFrame(vPacket); }, "NvEncoder::EncodeFrame : Encoder device not found", 1);
    ExpectFailure([&] { encoder.GetNextInputFrame(); }, "NvEncoder::GetNextInputFrame : Encoder device not found", 1);
}

TEST_F(FramesTest, TheLastNumberThatAFrameCanHaveIsTheEnd)
{
    const auto pEncoder = MakeEncoder();
    pEncoder->m_iToSend = pEncoder->m_iGot = std::numeric_limits<std::int32_t>::max();
    Packets vPacket;
    ExpectFailure([&] { pEncoder->EncodeFrame(vPacket); }, "NvEncoder::EncodeFrame : Too many frames", 20);
    EXPECT_EQ(m_runtime.Count("nvEncMapInputResource"), 0);
    EXPECT_THAT(End(*pEncoder), IsEmpty());
}

TEST_F(FramesTest, OfMotionEstimationTheReferenceSurfaceIsMappedAndUnmappedToo)
{
    const auto pEncoder = MakeEncoder();
    pEncoder->m_bMotionEstimationOnly = true;
    pEncoder->m_vMappedRefBuffers.resize(4);
    int aReferences[4] = {};
    pEncoder->RegisterResources({&aReferences[0], &aReferences[1], &aReferences[2], &aReferences[3]},
                                NV_ENC_INPUT_RESOURCE_TYPE_DIRECTX, 64, 48, 256, NV_ENC_BUFFER_FORMAT_ARGB, true);
    Send(*pEncoder);
    EXPECT_EQ(m_runtime.m_mapMapped[pEncoder->m_vMappedRefBuffers[0]], pEncoder->m_vRegisteredResourcesForReference[0]);
    EXPECT_EQ(End(*pEncoder).size(), 1u);
    EXPECT_TRUE(m_runtime.m_mapMapped.empty());
    EXPECT_EQ(pEncoder->m_vMappedRefBuffers[0], nullptr);

    // What is still mapped at the end goes too.
    Send(*pEncoder);
    EXPECT_EQ(m_runtime.m_mapMapped.size(), 2u);
    pEncoder->UnregisterResources();
    EXPECT_TRUE(m_runtime.m_mapMapped.empty());
    EXPECT_TRUE(m_runtime.m_mapRegistered.empty());
    pEncoder->m_bMotionEstimationOnly = false;  // a session of this kind has no packet buffers to destroy
}

TEST_F(FramesTest, OnceTheSurfacesAreTakenBackTheStreamHasNoEndAnyMore)
{
    const auto pEncoder = MakeEncoder();
    Send(*pEncoder);
    m_runtime.FailAlways("nvEncLockBitstream", NV_ENC_ERR_GENERIC);
    pEncoder->UnregisterResources();
    Packets vPacket;
    ExpectFailure([&] { pEncoder->EndEncode(vPacket); }, "NvEncoder::EndEncode : Encoder device not initialized", 11);
    EXPECT_NO_THROW(pEncoder->UnregisterResources());
}

TEST_F(FramesTest, MotionEstimationAloneEncodesNoFrames)
{
    TestEncoder::SSettings settings;
    settings.m_bMotionEstimationOnly = true;
    const auto pEncoder = MakeEncoder(settings);
    Packets vPacket;
    ExpectFailure([&] { pEncoder->EncodeFrame(vPacket); }, "NvEncoder::EncodeFrame : Encoder device not found", 1);
}
