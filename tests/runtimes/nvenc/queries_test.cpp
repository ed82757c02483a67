#include <algorithm>

#include "runtime.h"

namespace
{

int Capability(const OpenSession& session, int nNumber)
{
    auto record = MakeRecord<NV_ENC_CAPS_PARAM>(NV_ENC_CAPS_PARAM_VER);
    record.capsToQuery = static_cast<NV_ENC_CAPS>(nNumber);
    int nValue = -1;
    EXPECT_EQ(Runtime::Get().api.nvEncGetEncodeCaps(session.Handle(), NV_ENC_CODEC_H264_GUID, &record, &nValue),
              NV_ENC_SUCCESS);
    return nValue;
}

}  // namespace

TEST_F(NvencRuntime, H264IsTheOneCodec)
{
    const OpenSession session;
    std::uint32_t uiCount = 0;
    EXPECT_EQ(m_api.nvEncGetEncodeGUIDCount(session.Handle(), &uiCount), NV_ENC_SUCCESS);
    EXPECT_EQ(uiCount, 1u);
    GUID guids[4] = {};
    EXPECT_EQ(m_api.nvEncGetEncodeGUIDs(session.Handle(), guids, 4, &uiCount), NV_ENC_SUCCESS);
    EXPECT_EQ(uiCount, 1u);
    EXPECT_EQ(guids[0], NV_ENC_CODEC_H264_GUID);
    EXPECT_EQ(guids[1], GUID{});
}

TEST_F(NvencRuntime, QueriesAboutAnotherCodecAreUnsupported)
{
    const OpenSession session;
    void* const p = session.Handle();
    std::uint32_t uiCount = 0;
    GUID guid{};
    NV_ENC_BUFFER_FORMAT eFormat{};
    int nValue = 0;
    auto caps = MakeRecord<NV_ENC_CAPS_PARAM>(NV_ENC_CAPS_PARAM_VER);
    auto preset = MakeRecord<NV_ENC_PRESET_CONFIG>(NV_ENC_PRESET_CONFIG_VER);
    preset.presetCfg.version = NV_ENC_CONFIG_VER;
    for (const GUID& codec : {NV_ENC_CODEC_HEVC_GUID, GUID{}})
    {
        constexpr NVENCSTATUS eExpected = NV_ENC_ERR_UNSUPPORTED_PARAM;
        EXPECT_EQ(m_api.nvEncGetEncodeProfileGUIDCount(p, codec, &uiCount), eExpected);
        EXPECT_EQ(m_api.nvEncGetEncodeProfileGUIDs(p, codec, &guid, 1, &uiCount), eExpected);
        EXPECT_EQ(m_api.nvEncGetInputFormatCount(p, codec, &uiCount), eExpected);
        EXPECT_EQ(m_api.nvEncGetInputFormats(p, codec, &eFormat, 1, &uiCount), eExpected);
        EXPECT_EQ(m_api.nvEncGetEncodeCaps(p, codec, &caps, &nValue), eExpected);
        EXPECT_EQ(m_api.nvEncGetEncodePresetCount(p, codec, &uiCount), eExpected);
        EXPECT_EQ(m_api.nvEncGetEncodePresetGUIDs(p, codec, &guid, 1, &uiCount), eExpected);
        EXPECT_EQ(m_api.nvEncGetEncodePresetConfig(p, codec, NV_ENC_PRESET_HP_GUID, &preset), eExpected);
    }
}

TEST_F(NvencRuntime, ListsAreCutToTheArraysThatTakeThem)
{
    const OpenSession session;
    void* const p = session.Handle();
    std::uint32_t uiCount = 0;
    EXPECT_EQ(m_api.nvEncGetEncodePresetCount(p, NV_ENC_CODEC_H264_GUID, &uiCount), NV_ENC_SUCCESS);
    EXPECT_EQ(uiCount, 9u);
    GUID guids[100] = {};
    EXPECT_EQ(m_api.nvEncGetEncodePresetGUIDs(p, NV_ENC_CODEC_H264_GUID, guids, 100, &uiCount), NV_ENC_SUCCESS);
    EXPECT_EQ(uiCount, 9u);
    EXPECT_EQ(guids[9], GUID{});
    EXPECT_NE(std::find(guids, guids + 9, NV_ENC_PRESET_LOW_LATENCY_HQ_GUID), guids + 9);

    GUID two[3] = {};
    EXPECT_EQ(m_api.nvEncGetEncodePresetGUIDs(p, NV_ENC_CODEC_H264_GUID, two, 2, &uiCount), NV_ENC_SUCCESS);
    EXPECT_EQ(uiCount, 2u);
    EXPECT_EQ(two[1], guids[1]);
    EXPECT_EQ(two[2], GUID{});
}

TEST_F(NvencRuntime, ProfilesAndInputFormatsAreThoseOfEightBit420)
{
    const OpenSession session;
    void* const p = session.Handle();
    std::uint32_t uiCount = 0;
    GUID profiles[16] = {};
    EXPECT_EQ(m_api.nvEncGetEncodeProfileGUIDCount(p, NV_ENC_CODEC_H264_GUID, &uiCount), NV_ENC_SUCCESS);
    EXPECT_EQ(uiCount, 5u);
    EXPECT_EQ(m_api.nvEncGetEncodeProfileGUIDs(p, NV_ENC_CODEC_H264_GUID, profiles, 16, &uiCount), NV_ENC_SUCCESS);
    EXPECT_EQ(uiCount, 5u);
    for (const GUID& profile : {NV_ENC_CODEC_PROFILE_AUTOSELECT_GUID, NV_ENC_H264_PROFILE_BASELINE_GUID,
                                NV_ENC_H264_PROFILE_MAIN_GUID, NV_ENC_H264_PROFILE_HIGH_GUID})
    {
        EXPECT_NE(std::find(profiles, profiles + 5, profile), profiles + 5);
    }

    NV_ENC_BUFFER_FORMAT formats[16] = {};
    EXPECT_EQ(m_api.nvEncGetInputFormatCount(p, NV_ENC_CODEC_H264_GUID, &uiCount), NV_ENC_SUCCESS);
    EXPECT_EQ(uiCount, 2u);
    EXPECT_EQ(m_api.nvEncGetInputFormats(p, NV_ENC_CODEC_H264_GUID, formats, 16, &uiCount), NV_ENC_SUCCESS);
    EXPECT_EQ(uiCount, 2u);
    EXPECT_NE(std::find(formats, formats + 2, NV_ENC_BUFFER_FORMAT_NV12), formats + 2);
    EXPECT_NE(std::find(formats, formats + 2, NV_ENC_BUFFER_FORMAT_ARGB), formats + 2);
}

TEST_F(NvencRuntime, QueriesWithoutAPlaceForTheAnswerAreRefused)
{
    const OpenSession session;
    void* const p = session.Handle();
    const GUID codec = NV_ENC_CODEC_H264_GUID;
    std::uint32_t uiCount = 0;
    GUID guid{};
    auto caps = MakeRecord<NV_ENC_CAPS_PARAM>(NV_ENC_CAPS_PARAM_VER);
    int nValue = 0;
    EXPECT_EQ(m_api.nvEncGetEncodeGUIDCount(p, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncGetEncodeGUIDs(p, nullptr, 1, &uiCount), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncGetEncodeGUIDs(p, &guid, 1, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncGetInputFormatCount(p, codec, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncGetEncodePresetGUIDs(p, codec, &guid, 1, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncGetEncodeCaps(p, codec, nullptr, &nValue), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncGetEncodeCaps(p, codec, &caps, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncGetEncodePresetConfig(p, codec, NV_ENC_PRESET_HP_GUID, nullptr), NV_ENC_ERR_INVALID_PTR);
}

TEST_F(NvencRuntime, EveryCapabilityHasAnAnswerAndNoOtherNumberHas)
{
    const OpenSession session;
    for (int i = 0; i < 45; ++i)
    {
        EXPECT_GE(Capability(session, i), 0) << i;
    }
    auto record = MakeRecord<NV_ENC_CAPS_PARAM>(NV_ENC_CAPS_PARAM_VER);
    int nValue = 0;
    for (const int nNumber : {-1, 45, 1000})
    {
        record.capsToQuery = static_cast<NV_ENC_CAPS>(nNumber);
        EXPECT_EQ(m_api.nvEncGetEncodeCaps(session.Handle(), NV_ENC_CODEC_H264_GUID, &record, &nValue),
                  NV_ENC_ERR_INVALID_PARAM);
    }
}

// Initialisation does or refuses what the answers say.
TEST_F(NvencRuntime, CapabilitiesAreTrue)
{
    const OpenSession query;
    const auto initialize = [](SessionSetup& setup) {
        OpenSession session;
        return session.Initialize(setup);
    };

    SessionSetup wide(static_cast<std::uint32_t>(Capability(query, NV_ENC_CAPS_WIDTH_MAX)), 16);
    EXPECT_EQ(initialize(wide), NV_ENC_SUCCESS);
    SessionSetup wider(static_cast<std::uint32_t>(Capability(query, NV_ENC_CAPS_WIDTH_MAX)) + 2, 16);
    EXPECT_EQ(initialize(wider), NV_ENC_ERR_INVALID_PARAM);

    SessionSetup reordered;
    reordered.config.gopLength = 60;
    reordered.config.frameIntervalP = Capability(query, NV_ENC_CAPS_NUM_MAX_BFRAMES) + 1;
    EXPECT_EQ(initialize(reordered), NV_ENC_SUCCESS);
    ++reordered.config.frameIntervalP;
    EXPECT_EQ(initialize(reordered), NV_ENC_ERR_INVALID_PARAM);

    EXPECT_EQ(Capability(query, NV_ENC_CAPS_ASYNC_ENCODE_SUPPORT), 1);
    SessionSetup async;
    async.params.enableEncodeAsync = 1;
    EXPECT_EQ(initialize(async), NV_ENC_SUCCESS);

    const int nModes = Capability(query, NV_ENC_CAPS_SUPPORTED_RATECONTROL_MODES);
    for (const int nMode : {0, 1, 2, 8, 16, 32})
    {
        EXPECT_EQ(nModes & nMode, nMode);
        SessionSetup setup;
        setup.config.rcParams.rateControlMode = static_cast<NV_ENC_PARAMS_RC_MODE>(nMode);
        EXPECT_EQ(initialize(setup), NV_ENC_SUCCESS) << nMode;
    }

    EXPECT_EQ(Capability(query, NV_ENC_CAPS_SUPPORT_FIELD_ENCODING), 0);
    SessionSetup fields;
    fields.config.frameFieldMode = NV_ENC_PARAMS_FRAME_FIELD_MODE_FIELD;
    EXPECT_EQ(initialize(fields), NV_ENC_ERR_UNSUPPORTED_PARAM);

    EXPECT_EQ(Capability(query, NV_ENC_CAPS_SUPPORT_YUV444_ENCODE), 0);
    SessionSetup chroma;
    chroma.H264().chromaFormatIDC = 3;
    EXPECT_EQ(initialize(chroma), NV_ENC_ERR_UNSUPPORTED_PARAM);

    EXPECT_EQ(Capability(query, NV_ENC_CAPS_SUPPORT_TEMPORAL_AQ), 0);
    SessionSetup temporal;
    temporal.config.rcParams.enableTemporalAQ = 1;
    EXPECT_EQ(initialize(temporal), NV_ENC_ERR_UNSUPPORTED_PARAM);

    EXPECT_EQ(Capability(query, NV_ENC_CAPS_SUPPORT_LOSSLESS_ENCODE), 1);
    EXPECT_EQ(Capability(query, NV_ENC_CAPS_SUPPORT_LOOKAHEAD), 1);
    EXPECT_EQ(Capability(query, NV_ENC_CAPS_LEVEL_MAX), 52);
}

TEST_F(NvencRuntime, APresetStandsForAConfigurationThatInitialises)
{
    const OpenSession query;
    GUID guids[16] = {};
    std::uint32_t uiCount = 0;
    ASSERT_EQ(m_api.nvEncGetEncodePresetGUIDs(query.Handle(), NV_ENC_CODEC_H264_GUID, guids, 16, &uiCount),
              NV_ENC_SUCCESS);
    for (std::uint32_t i = 0; i < uiCount; ++i)
    {
        SessionSetup setup(64, 48, guids[i]);
        EXPECT_EQ(setup.config.version, 0xF0070009u);
        EXPECT_EQ(setup.config.rcParams.version, 0x70010009u);
        EXPECT_EQ(setup.config.encodeCodecConfig.h264Config.repeatSPSPPS, 1u);
        OpenSession session;
        EXPECT_EQ(session.Initialize(setup), NV_ENC_SUCCESS) << i;
    }
}

TEST_F(NvencRuntime, TheLowLatencyPresetHasNoBPicturesNoLookAheadAndNoEnd)
{
    const SessionSetup setup(64, 48, NV_ENC_PRESET_LOW_LATENCY_HQ_GUID);
    EXPECT_EQ(setup.config.frameIntervalP, 1);
    EXPECT_EQ(setup.config.gopLength, 0xFFFFFFFFu);
    EXPECT_EQ(setup.config.rcParams.lookaheadDepth, 0);
    EXPECT_EQ(setup.config.encodeCodecConfig.h264Config.level, 0u);
    EXPECT_EQ(setup.config.encodeCodecConfig.h264Config.idrPeriod, 0xFFFFFFFFu);
}

TEST_F(NvencRuntime, AnUnknownPresetAndWrongVersionWordsAreRefused)
{
    const OpenSession session;
    auto preset = MakeRecord<NV_ENC_PRESET_CONFIG>(NV_ENC_PRESET_CONFIG_VER);
    const auto ask = [&](const GUID& guid) {
        return m_api.nvEncGetEncodePresetConfig(session.Handle(), NV_ENC_CODEC_H264_GUID, guid, &preset);
    };
    // The version word of the record inside counts too.
    EXPECT_EQ(ask(NV_ENC_PRESET_HP_GUID), NV_ENC_ERR_INVALID_VERSION);
    preset.presetCfg.version = NV_ENC_CONFIG_VER;
    EXPECT_EQ(ask(NV_ENC_PRESET_HP_GUID), NV_ENC_SUCCESS);
    EXPECT_EQ(ask(NV_ENC_CODEC_H264_GUID), NV_ENC_ERR_UNSUPPORTED_PARAM);
    preset.version = NV_ENC_CONFIG_VER;
    EXPECT_EQ(ask(NV_ENC_PRESET_HP_GUID), NV_ENC_ERR_INVALID_VERSION);
}
