// From settings to an encoder with its ring.
#include "nvenc_fixture.h"

#include <limits>

namespace
{
class CreateTest : public NvencTest
{
protected:
    void ExpectRefused(TestEncoder& encoder, const std::string& strMessage, int nStatus)
    {
        ExpectFailure([&] { encoder.CreateEncoder(&m_params); }, "NvEncoder::CreateEncoder : " + strMessage, nStatus);
        EXPECT_EQ(m_runtime.Count("nvEncInitializeEncoder"), 0);
    }
};

TestEncoder::SSettings WithFormat(NV_ENC_BUFFER_FORMAT eFormat)
{
    TestEncoder::SSettings settings;
    settings.m_eFormat = eFormat;
    return settings;
}
}  // namespace

TEST_F(CreateTest, NoSessionIsReportedFirst)
{
    TestEncoder encoder({});
    encoder.DestroyEncoder();
    ExpectFailure([&] { encoder.CreateEncoder(nullptr); }, "NvEncoder::CreateEncoder : Encoder Initialization failed",
                  1);
}

TEST_F(CreateTest, ANullRecordIsReported)
{
    TestEncoder encoder({});
    ExpectFailure([&] { encoder.CreateEncoder(nullptr); },
                  "NvEncoder::CreateEncoder : Invalid NV_ENC_INITIALIZE_PARAMS ptr", 6);
}

TEST_F(CreateTest, AnEmptySizeIsReportedBeforeTheCodec)
{
    TestEncoder encoder({});
    FillParams(encoder, GUID{});
    m_params.encodeWidth = 0;
    ExpectRefused(encoder, "Invalid encoder width and height", 8);
    m_params.encodeWidth = 64;
    m_params.encodeHeight = 0;
    ExpectRefused(encoder, "Invalid encoder width and height", 8);
}

TEST_F(CreateTest, AnUnknownCodecIsReported)
{
    TestEncoder encoder({});
    FillParams(encoder, NV_ENC_H264_PROFILE_MAIN_GUID);
    ExpectRefused(encoder, "Invalid codec guid", 8);
}

TEST_F(CreateTest, H264RefusesTenBits)
{
    for (const auto eFormat : {NV_ENC_BUFFER_FORMAT_YUV420_10BIT, NV_ENC_BUFFER_FORMAT_YUV444_10BIT})
    {
        TestEncoder encoder(WithFormat(eFormat));
        FillParams(encoder);
        ExpectRefused(encoder, "10-bit format isn't supported by H264 encoder", 8);
    }
}

TEST_F(CreateTest, H264WithFullChromaNeedsItsChromaFormat)
{
    TestEncoder encoder(WithFormat(NV_ENC_BUFFER_FORMAT_YUV444));
    FillParams(encoder);
    m_config.encodeCodecConfig.h264Config.chromaFormatIDC = 1;
    ExpectRefused(encoder, "Invalid ChromaFormatIDC", 8);
    m_config.encodeCodecConfig.h264Config.chromaFormatIDC = 3;
    EXPECT_NO_THROW(encoder.CreateEncoder(&m_params));
}

TEST_F(CreateTest, HevcWithTenBitsNeedsItsBitDepth)
{
    for (const auto eFormat : {NV_ENC_BUFFER_FORMAT_YUV420_10BIT, NV_ENC_BUFFER_FORMAT_YUV444_10BIT})
    {
        TestEncoder encoder(WithFormat(eFormat));
        FillParams(encoder, NV_ENC_CODEC_HEVC_GUID);
        m_config.encodeCodecConfig.hevcConfig.pixelBitDepthMinus8 = 0;
        m_config.encodeCodecConfig.hevcConfig.chromaFormatIDC = 0;  // reported after the bit depth
        ExpectRefused(encoder, "Invalid PixelBitdepth", 8);
    }
}

TEST_F(CreateTest, HevcWithFullChromaNeedsItsChromaFormat)
{
    for (const auto eFormat : {NV_ENC_BUFFER_FORMAT_YUV444, NV_ENC_BUFFER_FORMAT_YUV444_10BIT})
    {
        TestEncoder encoder(WithFormat(eFormat));
        FillParams(encoder, NV_ENC_CODEC_HEVC_GUID);
        m_config.encodeCodecConfig.hevcConfig.chromaFormatIDC = 1;
        ExpectRefused(encoder, "Invalid ChromaFormatIDC", 8);
    }
}

TEST_F(CreateTest, ASpecialFormatWithoutAConfigurationIsRefusedLikeAWrongOne)
{
    struct SCase
    {
        GUID m_codecGuid;
        NV_ENC_BUFFER_FORMAT m_eFormat;
        const char* m_pszMessage;
    };
    for (const SCase& expected :
         {SCase{NV_ENC_CODEC_H264_GUID, NV_ENC_BUFFER_FORMAT_YUV444, "Invalid ChromaFormatIDC"},
          SCase{NV_ENC_CODEC_HEVC_GUID, NV_ENC_BUFFER_FORMAT_YUV444, "Invalid ChromaFormatIDC"},
          SCase{NV_ENC_CODEC_HEVC_GUID, NV_ENC_BUFFER_FORMAT_YUV420_10BIT, "Invalid PixelBitdepth"}})
    {
        TestEncoder encoder(WithFormat(expected.m_eFormat));
        FillParams(encoder, expected.m_codecGuid);
        m_params.encodeConfig = nullptr;
        ExpectRefused(encoder, expected.m_pszMessage, 8);
    }
}

TEST_F(CreateTest, TheSessionKeepsCopiesOfTheRecords)
{
    TestEncoder encoder({});
    FillParams(encoder);
    m_params.version = 1;
    m_config.version = 2;
    m_config.rcParams.constQP = {24, 28, 21};
    encoder.CreateEncoder(&m_params);

    ASSERT_EQ(m_runtime.m_vInitialized.size(), 1u);
    EXPECT_EQ(m_runtime.m_vInitialized[0].encodeConfig, &encoder.m_encodeConfig);
    EXPECT_EQ(encoder.m_initializeParams.encodeConfig, &encoder.m_encodeConfig);
    EXPECT_EQ(encoder.m_initializeParams.version, 0xF0050009u);
    EXPECT_EQ(encoder.m_encodeConfig.version, 0xF0070009u);
    EXPECT_EQ(m_runtime.m_vConfigs[0].rcParams.constQP.qpInterP, 24u);
    EXPECT_EQ(m_runtime.m_vConfigs[0].rcParams.constQP.qpInterB, 28u);
    EXPECT_EQ(m_runtime.m_vConfigs[0].rcParams.constQP.qpIntra, 21u);
    // The caller's records stay as they were.
    EXPECT_EQ(m_params.version, 1u);
    EXPECT_EQ(m_params.encodeConfig, &m_config);
    EXPECT_EQ(m_config.version, 2u);
}

TEST_F(CreateTest, WithoutAConfigurationTheDefaultPresetServes)
{
    TestEncoder encoder({});
    FillParams(encoder);
    m_params.encodeConfig = nullptr;
    m_runtime.m_vPresetsAsked.clear();
    m_runtime.m_presetConfig.frameIntervalP = 2;
    m_runtime.m_presetConfig.gopLength = 33;
    m_runtime.m_presetConfig.rcParams.rateControlMode = NV_ENC_PARAMS_RC_VBR;
    encoder.CreateEncoder(&m_params);

    ASSERT_EQ(m_runtime.m_vPresetsAsked.size(), 1u);
    EXPECT_EQ(m_runtime.m_vPresetsAsked[0], NV_ENC_PRESET_DEFAULT_GUID);
    EXPECT_EQ(encoder.m_encodeConfig.version, 0xF0070009u);
    EXPECT_EQ(encoder.m_encodeConfig.gopLength, 33u);
    EXPECT_EQ(encoder.m_encodeConfig.rcParams.rateControlMode, NV_ENC_PARAMS_RC_CONSTQP);
    EXPECT_EQ(encoder.m_encodeConfig.rcParams.constQP.qpInterP, 28u);
    EXPECT_EQ(encoder.m_encodeConfig.rcParams.constQP.qpInterB, 31u);
    EXPECT_EQ(encoder.m_encodeConfig.rcParams.constQP.qpIntra, 25u);
    EXPECT_EQ(encoder.m_nEncoderBuffer, 5);
}

TEST_F(CreateTest, TheSessionTakesItsSizesFromTheRecord)
{
    TestEncoder encoder({});
    FillParams(encoder);
    m_params.encodeWidth = 32;
    m_params.encodeHeight = 16;
    m_params.maxEncodeWidth = 128;
    m_params.maxEncodeHeight = 96;
    encoder.CreateEncoder(&m_params);
    EXPECT_EQ(encoder.GetEncodeWidth(), 32u);
    EXPECT_EQ(encoder.GetEncodeHeight(), 16u);
    EXPECT_EQ(encoder.m_nMaxEncodeWidth, 128u);
    EXPECT_EQ(encoder.m_nMaxEncodeHeight, 96u);
    ASSERT_EQ(m_runtime.m_vRegistered.size(), 4u);
    EXPECT_EQ(m_runtime.m_vRegistered[0].width, 128u);
    EXPECT_EQ(m_runtime.m_vRegistered[0].height, 96u);
}

TEST_F(CreateTest, AnExtraDelayOfThreeMakesARingOfFour)
{
    const auto pEncoder = MakeEncoder();
    EXPECT_EQ(pEncoder->m_nEncoderBuffer, 4);
    EXPECT_EQ(pEncoder->m_nOutputDelay, 3);
    EXPECT_THAT(pEncoder->m_vAllocated, testing::ElementsAre(4));
    EXPECT_THAT(pEncoder->m_vMappedInputBuffers, testing::ElementsAre(nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(pEncoder->m_vBitstreamOutputBuffer.size(), 4u);
    EXPECT_EQ(pEncoder->m_vpCompletionEvent.size(), 4u);
    EXPECT_EQ(pEncoder->m_vInputFrames.size(), 4u);
    EXPECT_EQ(m_runtime.m_setEvents.size(), 4u);
    EXPECT_EQ(m_runtime.m_setBuffers.size(), 4u);
    EXPECT_EQ(m_runtime.m_mapRegistered.size(), 4u);
}

TEST_F(CreateTest, LookAheadAndReorderingLengthenTheRing)
{
    TestEncoder encoder({});
    FillParams(encoder);
    m_config.frameIntervalP = 3;
    m_config.rcParams.lookaheadDepth = 10;
    encoder.CreateEncoder(&m_params);
    EXPECT_EQ(encoder.m_nEncoderBuffer, 16);
    EXPECT_EQ(encoder.m_nOutputDelay, 15);
}

TEST_F(CreateTest, TheRingIsBuiltInOrder)
{
    TestEncoder encoder({});
    FillParams(encoder);
    m_config.rcParams.lookaheadDepth = 0;
    const std::size_t uiBefore = m_runtime.m_vCalls.size();
    encoder.CreateEncoder(&m_params);
    EXPECT_THAT(m_runtime.CallsFrom(uiBefore),
                testing::ElementsAre("nvEncInitializeEncoder", "nvEncRegisterAsyncEvent", "nvEncRegisterAsyncEvent",
                                     "nvEncRegisterAsyncEvent", "nvEncRegisterAsyncEvent", "nvEncCreateBitstreamBuffer",
                                     "nvEncCreateBitstreamBuffer", "nvEncCreateBitstreamBuffer",
                                     "nvEncCreateBitstreamBuffer", "nvEncRegisterResource", "nvEncRegisterResource",
                                     "nvEncRegisterResource", "nvEncRegisterResource"));
}

TEST_F(CreateTest, EventsAreRegisteredWhetherTheyAreUsedOrNot)
{
    m_runtime.m_nAsyncSupport = 0;
    MakeEncoder();
    EXPECT_EQ(m_runtime.Count("nvEncRegisterAsyncEvent"), 4);
}

TEST_F(CreateTest, FailedEventRegistrationsAreNoFailure)
{
    m_runtime.FailAlways("nvEncRegisterAsyncEvent", NV_ENC_ERR_UNSUPPORTED_PARAM);
    m_runtime.FailAlways("nvEncUnregisterAsyncEvent", NV_ENC_ERR_EVENT_NOT_REGISTERD);
    const auto pEncoder = MakeEncoder();
    EXPECT_EQ(pEncoder->m_vpCompletionEvent.size(), 4u);
}

TEST_F(CreateTest, MotionEstimationAloneHasEventsButNoPacketBuffers)
{
    TestEncoder::SSettings settings;
    settings.m_bMotionEstimationOnly = true;
    const auto pEncoder = MakeEncoder(settings);
    EXPECT_EQ(pEncoder->m_vpCompletionEvent.size(), 4u);
    EXPECT_EQ(m_runtime.Count("nvEncCreateBitstreamBuffer"), 0);
}

TEST_F(CreateTest, OutputInVideoMemoryHasNeitherEventsNorPacketBuffers)
{
    TestEncoder::SSettings settings;
    settings.m_bOutputInVideoMemory = true;
    const auto pEncoder = MakeEncoder(settings);
    EXPECT_EQ(m_runtime.Count("nvEncRegisterAsyncEvent"), 0);
    EXPECT_EQ(m_runtime.Count("nvEncCreateBitstreamBuffer"), 0);
    EXPECT_THAT(pEncoder->m_vAllocated, testing::ElementsAre(4));
}

TEST_F(CreateTest, AFailedInitialisationIsReportedAndBuildsNothing)
{
    TestEncoder encoder({});
    FillParams(encoder);
    m_runtime.Fail("nvEncInitializeEncoder", 1, NV_ENC_ERR_UNSUPPORTED_PARAM);
    ExpectFailure([&] { encoder.CreateEncoder(&m_params); },
                  "NvEncoder::CreateEncoder : m_nvenc.nvEncInitializeEncoder(m_hEncoder, &m_initializeParams) returned "
                  "error 12",
                  12);
    EXPECT_FALSE(encoder.m_bEncoderInitialized);
    EXPECT_EQ(m_runtime.Count("nvEncCreateBitstreamBuffer"), 0);
    EXPECT_TRUE(encoder.m_vAllocated.empty());
}

TEST_F(CreateTest, AFailedPacketBufferIsReported)
{
    for (const int nCall : {1, 3})
    {
        FakeRuntime runtime;
        runtime.Fail("nvEncCreateBitstreamBuffer", nCall, NV_ENC_ERR_OUT_OF_MEMORY);
        {
            TestEncoder encoder({});
            FillParams(encoder);
            ExpectFailure([&] { encoder.CreateEncoder(&m_params); },
                          "NvEncoder::InitializeBitstreamBuffer : m_nvenc.nvEncCreateBitstreamBuffer(m_hEncoder, "
                          "&createBitstreamBuffer) returned error 10",
                          10);
            EXPECT_EQ(runtime.m_setBuffers.size(), static_cast<std::size_t>(nCall - 1));
            encoder.DestroyEncoder();
        }
        EXPECT_TRUE(runtime.m_setBuffers.empty());
        EXPECT_TRUE(runtime.m_setEvents.empty());
        EXPECT_TRUE(runtime.m_setSessions.empty());
        EXPECT_THAT(runtime.m_vComplaints, testing::IsEmpty());
    }
}

TEST_F(CreateTest, AFailedRegistrationIsReported)
{
    for (const int nCall : {1, 4})
    {
        FakeRuntime runtime;
        runtime.Fail("nvEncRegisterResource", nCall, NV_ENC_ERR_RESOURCE_REGISTER_FAILED);
        {
            TestEncoder encoder({});
            FillParams(encoder);
            ExpectFailure([&] { encoder.CreateEncoder(&m_params); },
                          "NvEncoder::RegisterResource : m_nvenc.nvEncRegisterResource(m_hEncoder, &registerResource) "
                          "returned error 23",
                          23);
            EXPECT_EQ(encoder.m_vRegisteredResources.size(), static_cast<std::size_t>(nCall - 1));
            EXPECT_EQ(encoder.m_vInputFrames.size(), static_cast<std::size_t>(nCall - 1));
        }
        EXPECT_TRUE(runtime.m_mapRegistered.empty());
        EXPECT_TRUE(runtime.m_setSessions.empty());
        EXPECT_THAT(runtime.m_vComplaints, testing::IsEmpty());
    }
}

TEST_F(CreateTest, ARingWithoutASlotIsRefused)
{
    for (const std::int32_t nInterval : {-3, -4, std::numeric_limits<std::int32_t>::min()})
    {
        TestEncoder encoder({});
        FillParams(encoder);
        m_config.frameIntervalP = nInterval;
        ExpectFailure([&] { encoder.CreateEncoder(&m_params); },
                      "NvEncoder::CreateEncoder : Invalid number of encoder buffers", 8);
        Packets vPacket;
        EXPECT_THROW(encoder.EncodeFrame(vPacket), NVENCException);
        EXPECT_THROW(encoder.EndEncode(vPacket), NVENCException);
        EXPECT_THROW(encoder.GetNextInputFrame(), NVENCException);
        encoder.DestroyEncoder();
        EXPECT_TRUE(m_runtime.m_setSessions.empty());
    }
}

TEST_F(CreateTest, ARingBeyondAllMeasureIsRefused)
{
    TestEncoder::SSettings settings;
    settings.m_uiExtraOutputDelay = 0xFFFFFFFF;
    TestEncoder encoder(settings);
    FillParams(encoder);
    m_config.frameIntervalP = std::numeric_limits<std::int32_t>::max();
    ExpectFailure([&] { encoder.CreateEncoder(&m_params); },
                  "NvEncoder::CreateEncoder : Invalid number of encoder buffers", 8);
}

TEST_F(CreateTest, TheDeepestLookAheadGetsItsRing)
{
    TestEncoder::SSettings settings;
    settings.m_uiExtraOutputDelay = 3;
    TestEncoder encoder(settings);
    FillParams(encoder);
    m_config.rcParams.lookaheadDepth = 0xFFFF;
    encoder.CreateEncoder(&m_params);
    EXPECT_EQ(encoder.m_nEncoderBuffer, 65539);  // 1 for the pictures' order, the look-ahead, and 3
    EXPECT_EQ(m_runtime.m_setBuffers.size(), 65539u);
    encoder.DestroyEncoder();
}

TEST_F(CreateTest, ARingOfOneSlotWorks)
{
    TestEncoder::SSettings settings;
    settings.m_uiExtraOutputDelay = 0;
    const auto pEncoder = MakeEncoder(settings);
    EXPECT_EQ(pEncoder->m_nEncoderBuffer, 1);
    Packets vPacket;
    for (std::int32_t i = 0; i < 3; ++i)
    {
        pEncoder->EncodeFrame(vPacket);
        EXPECT_THAT(vPacket, testing::ElementsAre(FakeRuntime::PacketOf(i)));
    }
}

TEST_F(CreateTest, SurfacesAreRegisteredAsTheyAreListed)
{
    TestEncoder encoder(WithFormat(NV_ENC_BUFFER_FORMAT_IYUV));
    encoder.m_uiPitch = 80;
    FillParams(encoder);
    encoder.CreateEncoder(&m_params);

    ASSERT_EQ(m_runtime.m_vRegistered.size(), 4u);
    ASSERT_EQ(encoder.m_vInputFrames.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i)
    {
        const NV_ENC_REGISTER_RESOURCE& registered = m_runtime.m_vRegistered[i];
        EXPECT_EQ(registered.resourceType, 0);
        EXPECT_EQ(registered.width, 64u);
        EXPECT_EQ(registered.height, 48u);
        EXPECT_EQ(registered.pitch, 80u);
        EXPECT_EQ(registered.resourceToRegister, encoder.m_vSurfaces[i].get());
        EXPECT_EQ(registered.bufferFormat, 0x100);
        EXPECT_EQ(registered.bufferUsage, 0);

        const NvEncInputFrame& frame = encoder.m_vInputFrames[i];
        EXPECT_EQ(frame.inputPtr, encoder.m_vSurfaces[i].get());
        EXPECT_EQ(frame.chromaOffsets[0], 80u * 48u);
        EXPECT_EQ(frame.chromaOffsets[1], 80u * 48u + 40u * 24u);
        EXPECT_EQ(frame.numChromaPlanes, 2u);
        EXPECT_EQ(frame.pitch, 80u);
        EXPECT_EQ(frame.chromaPitch, 40u);
        EXPECT_EQ(frame.bufferFormat, NV_ENC_BUFFER_FORMAT_IYUV);
        EXPECT_EQ(frame.resourceType, 0u);
        EXPECT_EQ(m_runtime.m_mapRegistered[encoder.m_vRegisteredResources[i]], encoder.m_vSurfaces[i].get());
    }
}

TEST_F(CreateTest, ReferenceSurfacesHaveListsOfTheirOwn)
{
    const auto pEncoder = MakeEncoder();
    int nSurface = 0;
    pEncoder->RegisterResources({&nSurface}, NV_ENC_INPUT_RESOURCE_TYPE_CUDAARRAY, 8, 6, 32, NV_ENC_BUFFER_FORMAT_NV12,
                                true);
    ASSERT_EQ(pEncoder->m_vReferenceFrames.size(), 1u);
    ASSERT_EQ(pEncoder->m_vRegisteredResourcesForReference.size(), 1u);
    EXPECT_EQ(pEncoder->m_vInputFrames.size(), 4u);
    EXPECT_EQ(pEncoder->m_vRegisteredResources.size(), 4u);
    EXPECT_EQ(pEncoder->m_vReferenceFrames[0].inputPtr, &nSurface);
    EXPECT_EQ(pEncoder->m_vReferenceFrames[0].chromaOffsets[0], 32u * 6u);
    EXPECT_EQ(pEncoder->m_vReferenceFrames[0].chromaOffsets[1], 0u);
    EXPECT_EQ(pEncoder->m_vReferenceFrames[0].resourceType, 2u);
    pEncoder->DestroyEncoder();
    EXPECT_TRUE(m_runtime.m_mapRegistered.empty());
}

TEST_F(CreateTest, ASurfaceOfAnUnknownFormatIsReportedByItsPlanes)
{
    const auto pEncoder = MakeEncoder();
    int nSurface = 0;
    ExpectFailure(
        [&] {
            pEncoder->RegisterResources({&nSurface}, NV_ENC_INPUT_RESOURCE_TYPE_DIRECTX, 8, 6, 32,
                                        NV_ENC_BUFFER_FORMAT_U8, false);
        },
        "NvEncoder::GetNumChromaPlanes : Invalid Buffer format", 8);
    EXPECT_EQ(m_runtime.Count("nvEncRegisterResource"), 5);
}
