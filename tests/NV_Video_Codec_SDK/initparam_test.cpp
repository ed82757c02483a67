// What an option set makes of its text at once, and the function it calls.
#include <cstring>

#include "init_param_fixture.h"

namespace
{
// Shows what the constructor read, and lets a test take the init function away.
class OpenInitParam : public NvEncoderInitParam
{
public:
    using NvEncoderInitParam::funcInit;
    using NvEncoderInitParam::NvEncoderInitParam;
    using NvEncoderInitParam::strParam;
    using NvEncoderInitParam::szChromaNames;
    using NvEncoderInitParam::szLowLatencyPresetNames;
    using NvEncoderInitParam::tokens;
    using NvEncoderInitParam::vChroma;
    using NvEncoderInitParam::vLowLatencyPreset;
};
}  // namespace

TEST_F(InitParamTest, TheEmptyStringIsH264WithTheDefaultPresetAndChangesNothing)
{
    std::memset(static_cast<void*>(&m_config), 0x5A, sizeof(m_config));
    m_params.frameRateNum = 30;
    const NV_ENC_CONFIG config = m_config;
    const NV_ENC_INITIALIZE_PARAMS params = m_params;

    OpenInitParam options("");
    EXPECT_TRUE(options.tokens.empty());
    EXPECT_TRUE(options.IsCodecH264());
    EXPECT_FALSE(options.IsCodecHEVC());
    EXPECT_EQ(options.GetEncodeGUID(), NV_ENC_CODEC_H264_GUID);
    EXPECT_EQ(options.GetPresetGUID(), NV_ENC_PRESET_DEFAULT_GUID);
    options.SetInitParams(&m_params, NV_ENC_BUFFER_FORMAT_YUV420_10BIT);
    EXPECT_EQ(std::memcmp(&m_config, &config, sizeof(config)), 0);
    EXPECT_EQ(std::memcmp(&m_params, &params, sizeof(params)), 0);
}

TEST_F(InitParamTest, NothingGivenIsTheEmptyString)
{
    OpenInitParam options;
    EXPECT_TRUE(options.tokens.empty());
    EXPECT_NO_THROW(options.SetInitParams(&m_params, NV_ENC_BUFFER_FORMAT_ARGB));
}

TEST_F(InitParamTest, TheInitFunctionIsCalledLast)
{
    std::vector<NV_ENC_INITIALIZE_PARAMS*> vCalls;
    std::uint32_t uiRateThen = 0;
    const std::function<void(NV_ENC_INITIALIZE_PARAMS*)> funcInit = [&](NV_ENC_INITIALIZE_PARAMS* pParams) {
        vCalls.push_back(pParams);
        uiRateThen = pParams->frameRateNum;
    };
    NvEncoderInitParam options("-codec hevc -fps 25", &funcInit);
    EXPECT_TRUE(vCalls.empty());
    options.SetInitParams(&m_params, NV_ENC_BUFFER_FORMAT_YUV420_10BIT);
    EXPECT_THAT(vCalls, testing::ElementsAre(&m_params));
    EXPECT_EQ(uiRateThen, 25u);
    EXPECT_EQ(Hevc().pixelBitDepthMinus8, 2u);
}

TEST_F(InitParamTest, TheInitFunctionIsNotCalledAfterAFailure)
{
    bool bCalled = false;
    const std::function<void(NV_ENC_INITIALIZE_PARAMS*)> funcInit = [&](NV_ENC_INITIALIZE_PARAMS*) { bCalled = true; };
    NvEncoderInitParam options("-what", &funcInit);
    EXPECT_THROW(options.SetInitParams(&m_params, NV_ENC_BUFFER_FORMAT_ARGB), std::invalid_argument);
    EXPECT_FALSE(bCalled);
}

TEST_F(InitParamTest, AnEmptyInitFunctionIsNeverTaken)
{
    const std::function<void(NV_ENC_INITIALIZE_PARAMS*)> funcInit;
    NvEncoderInitParam options("", &funcInit);
    EXPECT_NO_THROW(options.SetInitParams(&m_params, NV_ENC_BUFFER_FORMAT_ARGB));
}

TEST_F(InitParamTest, AnInitFunctionTakenAwayIsABadCall)
{
    OpenInitParam options("");
    options.funcInit = nullptr;
    EXPECT_THROW(options.SetInitParams(&m_params, NV_ENC_BUFFER_FORMAT_ARGB), std::bad_function_call);
}

TEST_F(InitParamTest, CapitalsReadAsLowerCase)
{
    OpenInitParam options("-CODEC HEVC -Preset HQ");
    EXPECT_EQ(options.strParam, "-codec hevc -preset hq");
    EXPECT_TRUE(options.IsCodecHEVC());
    EXPECT_FALSE(options.IsCodecH264());
    EXPECT_EQ(options.GetPresetGUID(), NV_ENC_PRESET_HQ_GUID);
    EXPECT_NO_THROW(options.SetInitParams(&m_params, NV_ENC_BUFFER_FORMAT_ARGB));
}

TEST_F(InitParamTest, BytesThatAreNoLettersStayWhenLowered)
{
    EXPECT_EQ(OpenInitParam("\xC4[@Z`z{").strParam, "\xC4[@z`z{");
}

TEST_F(InitParamTest, AnyWhiteSpaceSeparatesTokens)
{
    EXPECT_THAT(OpenInitParam("\t -fps\n\n25 \r\v\f-bf  2 ").tokens, testing::ElementsAre("-fps", "25", "-bf", "2"));
}

TEST_F(InitParamTest, EveryPresetNameHasItsPreset)
{
    const std::pair<const char*, GUID> aPresets[] = {
        {"default", {0xB2DFB705, 0x4EBD, 0x4C49, {0x9B, 0x5F, 0x24, 0xA7, 0x77, 0xD3, 0xE5, 0x87}}},
        {"hp", {0x60E4C59F, 0xE846, 0x4484, {0xA5, 0x6D, 0xCD, 0x45, 0xBE, 0x9F, 0xDD, 0xF6}}},
        {"hq", {0x34DBA71D, 0xA77B, 0x4B8F, {0x9C, 0x3E, 0xB6, 0xD5, 0xDA, 0x24, 0xC0, 0x12}}},
        {"bd", {0x82E3E450, 0xBDBB, 0x4E40, {0x98, 0x9C, 0x82, 0xA9, 0x0D, 0xF9, 0xEF, 0x32}}},
        {"ll", {0x49DF21C5, 0x6DFA, 0x4FEB, {0x97, 0x87, 0x6A, 0xCC, 0x9E, 0xFF, 0xB7, 0x26}}},
        {"ll_hp", {0x67082A44, 0x4BAD, 0x48FA, {0x98, 0xEA, 0x93, 0x05, 0x6D, 0x15, 0x0A, 0x58}}},
        {"ll_hq", {0xC5F733B9, 0xEA97, 0x4CF9, {0xBE, 0xC2, 0xBF, 0x78, 0xA7, 0x4F, 0xD1, 0x05}}},
        {"lossless", {0xD5BFB716, 0xC604, 0x44E7, {0x9B, 0xB8, 0xDE, 0xA5, 0x51, 0x0F, 0xC3, 0xAC}}},
        {"lossless_hp", {0x149998E7, 0x2364, 0x411D, {0x82, 0xEF, 0x17, 0x98, 0x88, 0x09, 0x34, 0x09}}},
    };
    for (const auto& [pszName, guid] : aPresets)
    {
        EXPECT_EQ(NvEncoderInitParam(std::string("-preset ") + pszName).GetPresetGUID(), guid) << pszName;
    }
}

TEST_F(InitParamTest, UnknownCodecsAndPresetsChangeNothing)
{
    NvEncoderInitParam options("-codec vp9 -preset fastest");
    EXPECT_EQ(options.GetEncodeGUID(), NV_ENC_CODEC_H264_GUID);
    EXPECT_EQ(options.GetPresetGUID(), NV_ENC_PRESET_DEFAULT_GUID);
    EXPECT_NO_THROW(options.SetInitParams(&m_params, NV_ENC_BUFFER_FORMAT_ARGB));
}

TEST_F(InitParamTest, TheLastCodecAndPresetCount)
{
    NvEncoderInitParam options("-codec h264 -preset hp -codec hevc -preset bd -codec h265 -preset x");
    EXPECT_TRUE(options.IsCodecHEVC());
    EXPECT_EQ(options.GetPresetGUID(), NV_ENC_PRESET_BD_GUID);
}

TEST_F(InitParamTest, ACodecsValueIsNeverReadAsAnOption)
{
    NvEncoderInitParam options("-codec -preset hq");
    EXPECT_EQ(options.GetPresetGUID(), NV_ENC_PRESET_DEFAULT_GUID);
    ExpectRefused("-codec -preset hq", "hq");
    EXPECT_NO_THROW(Apply("-codec -what -preset -ever"));
}

TEST_F(InitParamTest, WithLowLatencyEveryPresetEndsAsTheDefaultOfThose)
{
    for (const char* pszOptions : {"", "-preset hq", "-preset ll_hp", "-preset ll_hq"})
    {
        NvEncoderInitParam options(pszOptions, nullptr, true);
        EXPECT_EQ(options.GetPresetGUID(), NV_ENC_PRESET_LOW_LATENCY_DEFAULT_GUID) << pszOptions;
    }
}

TEST_F(InitParamTest, LowLatencyPresetNamesStandForTheirPresets)
{
    OpenInitParam options("", nullptr, true);
    EXPECT_EQ(options.szLowLatencyPresetNames, "ll ll_hp ll_hq");
    EXPECT_THAT(
        options.vLowLatencyPreset,
        testing::ElementsAre(GUID{0x49DF21C5, 0x6DFA, 0x4FEB, {0x97, 0x87, 0x6A, 0xCC, 0x9E, 0xFF, 0xB7, 0x26}},
                             GUID{0x67082A44, 0x4BAD, 0x48FA, {0x98, 0xEA, 0x93, 0x05, 0x6D, 0x15, 0x0A, 0x58}},
                             GUID{0xC5F733B9, 0xEA97, 0x4CF9, {0xBE, 0xC2, 0xBF, 0x78, 0xA7, 0x4F, 0xD1, 0x05}}));
}

TEST_F(InitParamTest, ChromaNamesStandForTheirCodes)
{
    OpenInitParam options;
    EXPECT_EQ(options.szChromaNames, "yuv420 yuv444");
    EXPECT_THAT(options.vChroma, testing::ElementsAre(1u, 3u));
}
