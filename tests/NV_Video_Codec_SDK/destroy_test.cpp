// The end of a session.
#include "nvenc_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
class DestroyTest : public NvencTest
{
protected:
    void ExpectNothingLeft(const FakeRuntime& runtime)
    {
        EXPECT_TRUE(runtime.m_setSessions.empty());
        EXPECT_TRUE(runtime.m_setEvents.empty());
        EXPECT_TRUE(runtime.m_setBuffers.empty());
        EXPECT_TRUE(runtime.m_mapRegistered.empty());
        EXPECT_TRUE(runtime.m_mapMapped.empty());
        EXPECT_TRUE(runtime.m_setLocked.empty());
    }

    Packets m_vPacket;
};
}  // namespace

TEST_F(DestroyTest, TwiceIsHarmless)
{
    const auto pEncoder = MakeEncoder();
    pEncoder->DestroyEncoder();
    EXPECT_EQ(pEncoder->GetSession(), nullptr);
    const std::size_t uiBefore = m_runtime.m_vCalls.size();
    pEncoder->DestroyEncoder();
    EXPECT_THAT(m_runtime.CallsFrom(uiBefore), IsEmpty());
    EXPECT_EQ(pEncoder->m_nReleased, 1);
}

TEST_F(DestroyTest, WithoutAnEndOfStreamStillSendsItAndDropsThePackets)
{
    const auto pEncoder = MakeEncoder();
    for (int i = 0; i < 6; ++i)
        pEncoder->EncodeFrame(m_vPacket);
    pEncoder->DestroyEncoder();
    EXPECT_EQ(m_runtime.m_vEnds.size(), 1u);
    EXPECT_EQ(m_runtime.Count("nvEncLockBitstream"), 6);
    EXPECT_EQ(pEncoder->m_iGot, 6);
    ExpectNothingLeft(m_runtime);
}

TEST_F(DestroyTest, SwallowsAFailureOfItsEndOfStream)
{
    const auto pEncoder = MakeEncoder();
    for (int i = 0; i < 6; ++i)
        pEncoder->EncodeFrame(m_vPacket);
    m_runtime.FailAlways("nvEncEncodePicture", NV_ENC_ERR_GENERIC);
    EXPECT_NO_THROW(pEncoder->DestroyEncoder());
    // The three pictures that the encoder still held were never read, and their surfaces are taken back all the same.
    EXPECT_EQ(m_runtime.Count("nvEncLockBitstream"), 3);
    ExpectNothingLeft(m_runtime);
}

TEST_F(DestroyTest, SwallowsAFailureOfTheDraining)
{
    const auto pEncoder = MakeEncoder();
    for (int i = 0; i < 2; ++i)
        pEncoder->EncodeFrame(m_vPacket);
    m_runtime.FailAlways("nvEncLockBitstream", NV_ENC_ERR_GENERIC);
    EXPECT_NO_THROW(pEncoder->DestroyEncoder());
    ExpectNothingLeft(m_runtime);
}

TEST_F(DestroyTest, AfterAnEndOfStreamSendsASecondOne)
{
    const auto pEncoder = MakeEncoder();
    pEncoder->EncodeFrame(m_vPacket);
    pEncoder->EndEncode(m_vPacket);
    pEncoder->DestroyEncoder();
    EXPECT_EQ(m_runtime.m_vEnds.size(), 2u);
    EXPECT_EQ(m_runtime.Count("nvEncLockBitstream"), 1);
    ExpectNothingLeft(m_runtime);
}

TEST_F(DestroyTest, TakesTheSessionDownInOrder)
{
    TestEncoder::SSettings settings;
    settings.m_uiExtraOutputDelay = 1;
    const auto pEncoder = MakeEncoder(settings);
    m_runtime.FailAlways("nvEncLockBitstream", NV_ENC_ERR_GENERIC);
    pEncoder->EncodeFrame(m_vPacket);
    const std::size_t uiBefore = m_runtime.m_vCalls.size();
    pEncoder->DestroyEncoder();
    EXPECT_THAT(m_runtime.CallsFrom(uiBefore),
                ElementsAre("nvEncEncodePicture", "nvEncLockBitstream", "nvEncUnmapInputResource",
                            "nvEncUnregisterResource", "nvEncUnregisterResource", "nvEncUnregisterAsyncEvent",
                            "nvEncUnregisterAsyncEvent", "nvEncDestroyBitstreamBuffer", "nvEncDestroyBitstreamBuffer",
                            "nvEncDestroyEncoder"));
}

TEST_F(DestroyTest, IgnoresWhatTheRuntimeAnswers)
{
    const auto pEncoder = MakeEncoder();
    pEncoder->EncodeFrame(m_vPacket);
    for (const char* pszEntry : {"nvEncUnmapInputResource", "nvEncUnregisterResource", "nvEncUnregisterAsyncEvent",
                                 "nvEncDestroyBitstreamBuffer", "nvEncDestroyEncoder"})
    {
        m_runtime.FailAlways(pszEntry, NV_ENC_ERR_GENERIC);
    }
    EXPECT_NO_THROW(pEncoder->DestroyEncoder());
    EXPECT_EQ(pEncoder->GetSession(), nullptr);
    EXPECT_EQ(m_runtime.Count("nvEncUnregisterResource"), 4);
    EXPECT_EQ(m_runtime.Count("nvEncUnregisterAsyncEvent"), 4);
    EXPECT_EQ(m_runtime.Count("nvEncDestroyBitstreamBuffer"), 4);
    EXPECT_EQ(m_runtime.Count("nvEncDestroyEncoder"), 1);
}

TEST_F(DestroyTest, OfASessionThatWasNeverInitialisedOnlyEndsIt)
{
    TestEncoder encoder({});
    const std::size_t uiBefore = m_runtime.m_vCalls.size();
    encoder.DestroyEncoder();
    EXPECT_THAT(m_runtime.CallsFrom(uiBefore), ElementsAre("nvEncDestroyEncoder"));
}

TEST_F(DestroyTest, OfMotionEstimationOrOutputInVideoMemorySendsNoEndOfStream)
{
    for (const bool bMotionEstimationOnly : {true, false})
    {
        TestEncoder::SSettings settings;
        settings.m_bMotionEstimationOnly = bMotionEstimationOnly;
        settings.m_bOutputInVideoMemory = !bMotionEstimationOnly;
        FakeRuntime runtime;
        const auto pEncoder = MakeEncoder(settings);
        pEncoder->DestroyEncoder();
        EXPECT_THAT(runtime.m_vEnds, IsEmpty());
        ExpectNothingLeft(runtime);
    }
}

TEST_F(DestroyTest, TheDestructorEndsASessionThatIsStillOpen)
{
    auto pEncoder = MakeEncoder();
    pEncoder->EncodeFrame(m_vPacket);
    pEncoder.reset();
    ExpectNothingLeft(m_runtime);
}
