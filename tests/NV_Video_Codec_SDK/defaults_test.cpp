// The settings that a session proposes.
#include "nvenc_fixture.h"

#include <cstring>

namespace
{
class DefaultsTest : public NvencTest
{
protected:
    void Fill(TestEncoder::SSettings settings, GUID codecGuid = NV_ENC_CODEC_H264_GUID,
              GUID presetGuid = NV_ENC_PRESET_LOW_LATENCY_HQ_GUID)
    {
        TestEncoder encoder(settings);
        m_params.encodeConfig = &m_config;
        encoder.CreateDefaultEncoderParams(&m_params, codecGuid, presetGuid);
    }
    void FillWithFormat(NV_ENC_BUFFER_FORMAT eFormat, GUID codecGuid)
    {
        TestEncoder::SSettings settings;
        settings.m_eFormat = eFormat;
        Fill(settings, codecGuid);
    }
};

constexpr const char* g_pszFunction = "NvEncoder::CreateDefaultEncoderParams : ";
}  // namespace

TEST_F(DefaultsTest, TheRecordGetsSizeRateAndIdentifiers)
{
    std::memset(static_cast<void*>(&m_params), 0xAB, sizeof(m_params));
    std::memset(static_cast<void*>(&m_config), 0xAB, sizeof(m_config));
    Fill({});

    EXPECT_EQ(m_params.version, 0xF0050009u);
    EXPECT_EQ(m_params.encodeConfig, &m_config);
    EXPECT_EQ(m_params.encodeGUID, NV_ENC_CODEC_H264_GUID);
    EXPECT_EQ(m_params.presetGUID, NV_ENC_PRESET_LOW_LATENCY_HQ_GUID);
    EXPECT_EQ(m_params.encodeWidth, 64u);
    EXPECT_EQ(m_params.encodeHeight, 48u);
    EXPECT_EQ(m_params.darWidth, 64u);
    EXPECT_EQ(m_params.darHeight, 48u);
    EXPECT_EQ(m_params.maxEncodeWidth, 64u);
    EXPECT_EQ(m_params.maxEncodeHeight, 48u);
    EXPECT_EQ(m_params.frameRateNum, 30u);
    EXPECT_EQ(m_params.frameRateDen, 1u);
    EXPECT_EQ(m_params.enablePTD, 1u);
    EXPECT_EQ(m_params.reportSliceOffsets, 0u);
    EXPECT_EQ(m_params.enableSubFrameWrite, 0u);
    EXPECT_EQ(m_params.enableMEOnlyMode, 0u);
    EXPECT_EQ(m_params.enableOutputInVidmem, 0u);
    // What isn't set is cleared, reserved fields included.
    EXPECT_EQ(m_params.enableExternalMEHints, 0u);
    EXPECT_EQ(m_params.privData, nullptr);
    EXPECT_EQ(m_params.reserved[288], 0u);
    EXPECT_EQ(m_params.reserved2[63], nullptr);
    EXPECT_EQ(m_config.reserved2[63], nullptr);
}

TEST_F(DefaultsTest, TheConfigurationIsThePresetsUnderConstantQuantisers)
{
    m_runtime.m_presetConfig.profileGUID = NV_ENC_H264_PROFILE_HIGH_GUID;
    m_runtime.m_presetConfig.frameIntervalP = 4;
    m_runtime.m_presetConfig.gopLength = 60;
    m_runtime.m_presetConfig.rcParams.rateControlMode = NV_ENC_PARAMS_RC_VBR;
    m_runtime.m_presetConfig.rcParams.lookaheadDepth = 8;
    m_runtime.m_presetConfig.encodeCodecConfig.h264Config.level = 41;
    Fill({});

    ASSERT_EQ(m_runtime.m_vPresetsAsked.size(), 1u);
    EXPECT_EQ(m_runtime.m_vPresetsAsked[0], NV_ENC_PRESET_LOW_LATENCY_HQ_GUID);
    EXPECT_EQ(m_config.version, 0xF0070009u);
    EXPECT_EQ(m_config.profileGUID, NV_ENC_H264_PROFILE_HIGH_GUID);
    EXPECT_EQ(m_config.rcParams.lookaheadDepth, 8u);
    EXPECT_EQ(m_config.encodeCodecConfig.h264Config.level, 41u);

    EXPECT_EQ(m_config.frameIntervalP, 1);
    EXPECT_EQ(m_config.gopLength, 0xFFFFFFFFu);
    EXPECT_EQ(m_config.rcParams.rateControlMode, NV_ENC_PARAMS_RC_CONSTQP);
    EXPECT_EQ(m_config.rcParams.constQP.qpInterP, 28u);
    EXPECT_EQ(m_config.rcParams.constQP.qpInterB, 31u);
    EXPECT_EQ(m_config.rcParams.constQP.qpIntra, 25u);
    EXPECT_EQ(m_config.encodeCodecConfig.h264Config.idrPeriod, 0xFFFFFFFFu);
    EXPECT_EQ(m_config.encodeCodecConfig.h264Config.chromaFormatIDC, 0u);
}

TEST_F(DefaultsTest, TheRuntimeIsAskedAboutTheCodecThatWasGiven)
{
    for (const GUID& codecGuid : {NV_ENC_CODEC_H264_GUID, NV_ENC_CODEC_HEVC_GUID})
    {
        m_runtime.m_vCodecsAsked.clear();
        Fill({}, codecGuid);
        ASSERT_EQ(m_runtime.m_vCodecsAsked.size(), 2u);  // the preset's settings, and completion events
        EXPECT_EQ(m_runtime.m_vCodecsAsked[0], codecGuid);
        EXPECT_EQ(m_runtime.m_vCodecsAsked[1], codecGuid);
    }
}

TEST_F(DefaultsTest, LosslessPresetsKeepTheirQuantisers)
{
    m_runtime.m_presetConfig.rcParams.constQP = {1, 2, 3};
    for (const GUID& presetGuid : {NV_ENC_PRESET_LOSSLESS_DEFAULT_GUID, NV_ENC_PRESET_LOSSLESS_HP_GUID})
    {
        Fill({}, NV_ENC_CODEC_H264_GUID, presetGuid);
        EXPECT_EQ(m_config.rcParams.constQP.qpInterP, 1u);
        EXPECT_EQ(m_config.rcParams.constQP.qpInterB, 2u);
        EXPECT_EQ(m_config.rcParams.constQP.qpIntra, 3u);
        EXPECT_EQ(m_config.rcParams.rateControlMode, NV_ENC_PARAMS_RC_CONSTQP);
    }
}

TEST_F(DefaultsTest, AFailedPresetQueryLeavesTheSettingsAlone)
{
    m_runtime.FailAlways("nvEncGetEncodePresetConfig", NV_ENC_ERR_UNSUPPORTED_PARAM);
    m_config.gopLength = 5;
    Fill({});
    EXPECT_EQ(m_config.version, 0xF0070009u);
    EXPECT_EQ(m_config.gopLength, 0xFFFFFFFFu);
    EXPECT_EQ(m_config.rcParams.constQP.qpInterP, 28u);
}

TEST_F(DefaultsTest, CompletionEventsAreUsedWhereTheDeviceCan)
{
    m_runtime.m_nAsyncSupport = 1;
    Fill({});
    EXPECT_EQ(m_params.enableEncodeAsync, 1u);
    m_runtime.m_nAsyncSupport = 0;
    Fill({});
    EXPECT_EQ(m_params.enableEncodeAsync, 0u);
}

TEST_F(DefaultsTest, AFailedCapabilityQueryMeansNo)
{
    m_runtime.m_nAsyncSupport = 1;
    m_runtime.FailAlways("nvEncGetEncodeCaps", NV_ENC_ERR_GENERIC);
    Fill({});
    EXPECT_EQ(m_params.enableEncodeAsync, 0u);
}

TEST_F(DefaultsTest, OutputInVideoMemoryAsksForNoEvents)
{
    m_runtime.m_nAsyncSupport = 1;
    TestEncoder::SSettings settings;
    settings.m_bOutputInVideoMemory = true;
    Fill(settings);
    EXPECT_EQ(m_params.enableOutputInVidmem, 1u);
    EXPECT_EQ(m_params.enableEncodeAsync, 0u);
    EXPECT_EQ(m_runtime.Count("nvEncGetEncodeCaps"), 0);
}

TEST_F(DefaultsTest, MotionEstimationOnlyIsPassedOn)
{
    TestEncoder::SSettings settings;
    settings.m_bMotionEstimationOnly = true;
    Fill(settings);
    EXPECT_EQ(m_params.enableMEOnlyMode, 1u);
}

TEST_F(DefaultsTest, H264TakesItsChromaFormatFromTheSurfaces)
{
    m_runtime.m_presetConfig.encodeCodecConfig.h264Config.chromaFormatIDC = 1;
    FillWithFormat(NV_ENC_BUFFER_FORMAT_YUV444, NV_ENC_CODEC_H264_GUID);
    EXPECT_EQ(m_config.encodeCodecConfig.h264Config.chromaFormatIDC, 3u);
    FillWithFormat(NV_ENC_BUFFER_FORMAT_YUV444_10BIT, NV_ENC_CODEC_H264_GUID);
    EXPECT_EQ(m_config.encodeCodecConfig.h264Config.chromaFormatIDC, 3u);
    FillWithFormat(NV_ENC_BUFFER_FORMAT_NV12, NV_ENC_CODEC_H264_GUID);
    EXPECT_EQ(m_config.encodeCodecConfig.h264Config.chromaFormatIDC, 1u);
}

TEST_F(DefaultsTest, HevcTakesBitDepthAndChromaFormatFromTheSurfaces)
{
    struct SCase
    {
        NV_ENC_BUFFER_FORMAT m_eFormat;
        std::uint32_t m_uiBitDepthMinus8;
        std::uint32_t m_uiChromaFormat;
    };
    m_runtime.m_presetConfig.encodeCodecConfig.hevcConfig.chromaFormatIDC = 1;
    m_runtime.m_presetConfig.encodeCodecConfig.hevcConfig.pixelBitDepthMinus8 = 4;
    for (const SCase& expected :
         {SCase{NV_ENC_BUFFER_FORMAT_NV12, 0, 1}, SCase{NV_ENC_BUFFER_FORMAT_YUV444, 0, 3},
          SCase{NV_ENC_BUFFER_FORMAT_YUV420_10BIT, 2, 1}, SCase{NV_ENC_BUFFER_FORMAT_YUV444_10BIT, 2, 3},
          SCase{NV_ENC_BUFFER_FORMAT_ARGB10, 0, 1}})
    {
        FillWithFormat(expected.m_eFormat, NV_ENC_CODEC_HEVC_GUID);
        const NV_ENC_CONFIG_HEVC& hevc = m_config.encodeCodecConfig.hevcConfig;
        EXPECT_EQ(hevc.pixelBitDepthMinus8, expected.m_uiBitDepthMinus8) << expected.m_eFormat;
        EXPECT_EQ(hevc.chromaFormatIDC, expected.m_uiChromaFormat) << expected.m_eFormat;
        EXPECT_EQ(hevc.idrPeriod, 0xFFFFFFFFu) << expected.m_eFormat;
    }
}

TEST_F(DefaultsTest, AnotherCodecsSettingsAreLeftAlone)
{
    m_runtime.m_presetConfig.encodeCodecConfig.h264Config.idrPeriod = 17;
    m_runtime.m_presetConfig.encodeCodecConfig.hevcConfig.idrPeriod = 18;
    FillWithFormat(NV_ENC_BUFFER_FORMAT_YUV444, NV_ENC_PRESET_BD_GUID);
    EXPECT_EQ(m_config.encodeCodecConfig.h264Config.idrPeriod, 17u);
    EXPECT_EQ(m_config.encodeCodecConfig.hevcConfig.idrPeriod, 18u);
    EXPECT_EQ(m_config.encodeCodecConfig.h264Config.chromaFormatIDC, 0u);
}

TEST_F(DefaultsTest, NoSessionIsReported)
{
    TestEncoder encoder({});
    encoder.DestroyEncoder();
    // Before the pointers are looked at.
    ExpectFailure([&] { encoder.CreateDefaultEncoderParams(nullptr, {}, {}); },
                  g_pszFunction + std::string("Encoder Initialization failed"), 1);
}

TEST_F(DefaultsTest, NullRecordsAreReported)
{
    const std::string strText =
        g_pszFunction + std::string("pInitializeParams and pInitializeParams->encodeConfig can't be NULL");
    TestEncoder encoder({});
    ExpectFailure([&] { encoder.CreateDefaultEncoderParams(nullptr, {}, {}); }, strText, 6);
    m_params.encodeConfig = nullptr;
    ExpectFailure([&] { encoder.CreateDefaultEncoderParams(&m_params, {}, {}); }, strText, 6);
}
