// Encoder settings from an option text.
#include <cstring>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "NV_Video_Codec_SDK/NvEncoder/NvEncoderInitParam.h"

namespace
{
class InitParamTest : public testing::Test
{
protected:
    InitParamTest() { m_params.encodeConfig = &m_config; }

    void Apply(const std::string& strOptions, NV_ENC_BUFFER_FORMAT eFormat = NV_ENC_BUFFER_FORMAT_ARGB)
    {
        NvEncoderInitParam(strOptions).SetInitParams(&m_params, eFormat);
    }
    // The options are refused, and the failure names strToken.
    void ExpectRefused(const std::string& strOptions, const std::string& strToken)
    {
        try
        {
            Apply(strOptions);
            ADD_FAILURE() << strOptions << " was taken";
        }
        catch (const std::invalid_argument& exception)
        {
            EXPECT_EQ(std::string(exception.what()),
                      "Incorrect parameter: " + strToken +
                          "\nRe-run the application with the -h option to get a list of the supported options.\n");
        }
    }
    void ExpectOutOfRange(const std::string& strOptions, const std::string& strText)
    {
        try
        {
            Apply(strOptions);
            ADD_FAILURE() << strOptions << " was taken";
        }
        catch (const std::out_of_range& exception)
        {
            EXPECT_EQ(std::string(exception.what()), strText) << strOptions;
        }
    }

    NV_ENC_RC_PARAMS& Rc() { return m_config.rcParams; }
    NV_ENC_CONFIG_H264& H264() { return m_config.encodeCodecConfig.h264Config; }
    NV_ENC_CONFIG_HEVC& Hevc() { return m_config.encodeCodecConfig.hevcConfig; }

    NV_ENC_INITIALIZE_PARAMS m_params = {};
    NV_ENC_CONFIG m_config = {};
};

void ExpectQp(const NV_ENC_QP& qp, std::uint32_t uiP, std::uint32_t uiB, std::uint32_t uiI)
{
    EXPECT_EQ(qp.qpInterP, uiP);
    EXPECT_EQ(qp.qpInterB, uiB);
    EXPECT_EQ(qp.qpIntra, uiI);
}

// Shows what the constructor read, and lets a test take the init function away.
class OpenInitParam : public NvEncoderInitParam
{
public:
    using NvEncoderInitParam::funcInit;
    using NvEncoderInitParam::NvEncoderInitParam;
    using NvEncoderInitParam::strParam;
    using NvEncoderInitParam::szChromaNames;
    using NvEncoderInitParam::tokens;
    using NvEncoderInitParam::vChroma;
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

TEST_F(InitParamTest, LowLatencyKnowsOnlyItsOwnPresetsAndEndsWithTheDefaultOfThem)
{
    for (const char* pszOptions : {"", "-preset hq", "-preset ll_hp", "-preset ll_hq"})
    {
        NvEncoderInitParam options(pszOptions, nullptr, true);
        EXPECT_EQ(options.GetPresetGUID(), NV_ENC_PRESET_LOW_LATENCY_DEFAULT_GUID) << pszOptions;
    }
}

TEST_F(InitParamTest, ChromaNamesStandForTheirCodes)
{
    OpenInitParam options;
    EXPECT_EQ(options.szChromaNames, "yuv420 yuv444");
    EXPECT_THAT(options.vChroma, testing::ElementsAre(1u, 3u));
}

TEST_F(InitParamTest, ProfileReadsTheTableOfTheCodec)
{
    const std::pair<const char*, GUID> aH264[] = {
        {"baseline", {0x0727BCAA, 0x78C4, 0x4C83, {0x8C, 0x2F, 0xEF, 0x3D, 0xFF, 0x26, 0x7C, 0x6A}}},
        {"main", {0x60B5C1D4, 0x67FE, 0x4790, {0x94, 0xD5, 0xC4, 0x72, 0x6D, 0x7B, 0x6E, 0x6D}}},
        {"high", {0xE7CBC309, 0x4F7A, 0x4B89, {0xAF, 0x2A, 0xD5, 0x37, 0xC9, 0x2B, 0xE3, 0x10}}},
        {"high444", {0x7AC663CB, 0xA598, 0x4960, {0xB8, 0x44, 0x33, 0x9B, 0x26, 0x1A, 0x7D, 0x52}}},
    };
    const std::pair<const char*, GUID> aHevc[] = {
        {"main", {0xB514C39A, 0xB55B, 0x40FA, {0x87, 0x8F, 0xF1, 0x25, 0x3B, 0x4D, 0xFD, 0xEC}}},
        {"main10", {0xFA4D2B6C, 0x3A5B, 0x411A, {0x80, 0x18, 0x0A, 0x3F, 0x5E, 0x3C, 0x9B, 0xE5}}},
        {"frext", {0x51EC32B5, 0x1B4C, 0x453C, {0x9C, 0xBD, 0xB6, 0x16, 0xBD, 0x62, 0x13, 0x41}}},
    };
    for (const auto& [pszName, guid] : aH264)
    {
        Apply(std::string("-profile ") + pszName);
        EXPECT_EQ(m_config.profileGUID, guid) << pszName;
    }
    for (const auto& [pszName, guid] : aHevc)
    {
        Apply(std::string("-codec hevc -profile ") + pszName);
        EXPECT_EQ(m_config.profileGUID, guid) << pszName;
    }
    ExpectRefused("-profile main10", "main10");
    ExpectRefused("-codec hevc -profile high", "high");
}

TEST_F(InitParamTest, RateControlReadsItsNames)
{
    const std::pair<const char*, int> aModes[] = {{"constqp", 0},   {"vbr", 1},     {"cbr", 2},
                                                  {"cbr_ll_hq", 8}, {"cbr_hq", 16}, {"vbr_hq", 32}};
    for (const auto& [pszName, nMode] : aModes)
    {
        Rc().rateControlMode = static_cast<NV_ENC_PARAMS_RC_MODE>(99);
        Apply(std::string("-rc ") + pszName);
        EXPECT_EQ(Rc().rateControlMode, nMode) << pszName;
    }
}

TEST_F(InitParamTest, AnUnknownRateControlRunsThroughTheTableAndIsNamed)
{
    ExpectRefused("-rc vbr2", "vbr2");
}

TEST_F(InitParamTest, AValueThatIsALaterOptionIsTakenAsThatOption)
{
    Apply("-rc -lookahead 4");
    EXPECT_EQ(Rc().lookaheadDepth, 4u);
    EXPECT_EQ(Rc().enableLookahead, 1u);
    EXPECT_EQ(Rc().rateControlMode, 0);

    Apply("-qmin -temporalaq -fps 12");
    EXPECT_EQ(Rc().enableTemporalAQ, 1u);
    EXPECT_EQ(Rc().enableMinQP, 0u);
    EXPECT_EQ(m_params.frameRateNum, 12u);

    Rc().enableTemporalAQ = 0;
    Apply("-rc -fps -qmax -temporalaq");  // step by step down the table
    EXPECT_EQ(Rc().enableTemporalAQ, 1u);
}

TEST_F(InitParamTest, AValueThatIsANumberIsNeverReadAsAnOption)
{
    Apply("-gop -444");
    EXPECT_EQ(m_config.gopLength, 4294966852u);
    EXPECT_EQ(H264().chromaFormatIDC, 0u);
}

TEST_F(InitParamTest, AValueThatIsAnEarlierOptionIsRefused)
{
    ExpectRefused("-lookahead -rc vbr", "-rc");
    ExpectRefused("-rc -rc vbr", "-rc");
    ExpectRefused("-gop -codec hevc", "-codec");
}

TEST_F(InitParamTest, FpsTakesTheNumberInFrontOfOtherCharacters)
{
    Apply("-fps 30abc");
    EXPECT_EQ(m_params.frameRateNum, 30u);
    Apply("-fps +25");
    EXPECT_EQ(m_params.frameRateNum, 25u);
    Apply("-fps 0x10");
    EXPECT_EQ(m_params.frameRateNum, 0u);
    Apply("-fps -1");
    EXPECT_EQ(m_params.frameRateNum, 0xFFFFFFFFu);
    ExpectRefused("-fps abc", "abc");
    ExpectRefused("-fps +", "+");
}

TEST_F(InitParamTest, IntegersThatDoNotFitAreOutOfRange)
{
    Apply("-fps 2147483647");
    EXPECT_EQ(m_params.frameRateNum, 2147483647u);
    Apply("-fps -2147483648");
    EXPECT_EQ(m_params.frameRateNum, 2147483648u);
    for (const char* pszNumber : {"2147483648", "-2147483649", "9223372036854775808", "99999999999999999999999"})
    {
        for (const char* pszOption :
             {"-fps ", "-bf ", "-cq ", "-qmin ", "-constqp 1,2,", "-lookahead ", "-aq ", "-gop "})
        {
            ExpectOutOfRange(std::string(pszOption) + pszNumber, "stoi argument out of range");
        }
    }
}

TEST_F(InitParamTest, BPicturesMakeTheReferenceDistance)
{
    Apply("-bf 2");
    EXPECT_EQ(m_config.frameIntervalP, 3);
    Apply("-bf 0");
    EXPECT_EQ(m_config.frameIntervalP, 1);
    Apply("-bf -3");
    EXPECT_EQ(m_config.frameIntervalP, -2);
}

TEST_F(InitParamTest, ABPictureCountOfMinusOneIsStoredAsNoDistanceAndRefused)
{
    m_config.frameIntervalP = 7;
    ExpectRefused("-bf -1", "-1");
    EXPECT_EQ(m_config.frameIntervalP, 0);
}

TEST_F(InitParamTest, TheLargestBPictureCountIsRefusedAndNotStored)
{
    m_config.frameIntervalP = 7;
    ExpectRefused("-bf 2147483647", "2147483647");
    EXPECT_EQ(m_config.frameIntervalP, 7);
}

TEST_F(InitParamTest, BitRatesHaveUnits)
{
    const std::pair<const char*, std::uint32_t> aRates[] = {{"2.5m", 2500000},
                                                            {"300k", 300000},
                                                            {"300K", 300000},
                                                            {"300x", 300},
                                                            {"300", 300},
                                                            {"1.9", 1},
                                                            {"0.0015k", 1},
                                                            {"1e3", 1000},
                                                            {"2.5M", 2500000},
                                                            {".5m", 500000},
                                                            {"300kb", 300000},
                                                            {"-0.9", 0},
                                                            {"4294967295", 4294967295},
                                                            {"4294.967295m", 4294967295}};
    for (const auto& [pszRate, uiRate] : aRates)
    {
        Apply(std::string("-bitrate ") + pszRate);
        EXPECT_EQ(Rc().averageBitRate, uiRate) << pszRate;
    }
    ExpectRefused("-bitrate fast", "fast");
    ExpectRefused("-bitrate m", "m");
}

TEST_F(InitParamTest, EachBitRateOptionHasItsSetting)
{
    Apply("-bitrate 1k -maxbitrate 2k -vbvbufsize 3k -vbvinit 4k");
    EXPECT_EQ(Rc().averageBitRate, 1000u);
    EXPECT_EQ(Rc().maxBitRate, 2000u);
    EXPECT_EQ(Rc().vbvBufferSize, 3000u);
    EXPECT_EQ(Rc().vbvInitialDelay, 4000u);
}

TEST_F(InitParamTest, BitRatesThatDoNotFitAreOutOfRange)
{
    Rc().averageBitRate = 5;
    for (const char* pszRate :
         {"1e999", "-1e999", "4294967296", "4294.968m", "1e300k", "-1", "-3k", "inf", "-inf", "nan"})
    {
        ExpectOutOfRange(std::string("-bitrate ") + pszRate, "stod argument out of range");
    }
    EXPECT_EQ(Rc().averageBitRate, 5u);
}

TEST_F(InitParamTest, TargetQualityIsCutToAByte)
{
    Apply("-cq 23");
    EXPECT_EQ(Rc().targetQuality, 23u);
    Apply("-cq 300");
    EXPECT_EQ(Rc().targetQuality, 44u);
}

TEST_F(InitParamTest, OneQuantiserStandsForAllThree)
{
    Apply("-qmin 20");
    ExpectQp(Rc().minQP, 20, 20, 20);
    EXPECT_EQ(Rc().enableMinQP, 1u);
    Apply("-qmin 21,");  // nothing behind the last comma is no part
    ExpectQp(Rc().minQP, 21, 21, 21);
}

TEST_F(InitParamTest, TwoQuantisersAreRefusedAndNamed)
{
    Rc().minQP = {1, 2, 3};
    for (const char* pszValue : {"20,22", ",20", "20,22,24,26", ",", "a", "20,22,x", "20,,22"})
    {
        ExpectRefused(std::string("-qmin ") + pszValue, pszValue);
    }
    ExpectQp(Rc().minQP, 1, 2, 3);
    EXPECT_EQ(Rc().enableMinQP, 0u);
}

TEST_F(InitParamTest, EachQuantiserOptionHasItsSetting)
{
    Apply("-initqp 1,2,3 -qmin 4,5,6 -qmax 7,8,9 -constqp 10,11x,12");
    ExpectQp(Rc().initialRCQP, 1, 2, 3);
    ExpectQp(Rc().minQP, 4, 5, 6);
    ExpectQp(Rc().maxQP, 7, 8, 9);
    ExpectQp(Rc().constQP, 10, 11, 12);
    EXPECT_EQ(Rc().enableInitialRCQP, 1u);
    EXPECT_EQ(Rc().enableMinQP, 1u);
    EXPECT_EQ(Rc().enableMaxQP, 1u);
}

TEST_F(InitParamTest, AQuantiserSwitchesOnlyItsOwnLimit)
{
    Apply("-qmax 40");
    EXPECT_EQ(Rc().enableMaxQP, 1u);
    EXPECT_EQ(Rc().enableMinQP, 0u);
    EXPECT_EQ(Rc().enableInitialRCQP, 0u);
    Apply("-initqp 30");
    EXPECT_EQ(Rc().enableInitialRCQP, 1u);
    EXPECT_EQ(Rc().enableMinQP, 0u);
}

TEST_F(InitParamTest, TemporalAqIsASwitch)
{
    Apply("-temporalaq");
    EXPECT_EQ(Rc().enableTemporalAQ, 1u);
    EXPECT_EQ(Rc().enableAQ, 0u);
}

TEST_F(InitParamTest, LookAheadIsOnAboveZero)
{
    Apply("-lookahead 8");
    EXPECT_EQ(Rc().lookaheadDepth, 8u);
    EXPECT_EQ(Rc().enableLookahead, 1u);
    Apply("-lookahead 0");
    EXPECT_EQ(Rc().lookaheadDepth, 0u);
    EXPECT_EQ(Rc().enableLookahead, 0u);
}

TEST_F(InitParamTest, LookAheadIsCutToSixteenBits)
{
    Apply("-lookahead -1");
    EXPECT_EQ(Rc().lookaheadDepth, 65535u);
    EXPECT_EQ(Rc().enableLookahead, 1u);
    Apply("-lookahead 65536");
    EXPECT_EQ(Rc().lookaheadDepth, 0u);
    EXPECT_EQ(Rc().enableLookahead, 0u);
}

TEST_F(InitParamTest, AqStrengthTakesTheLowFourBits)
{
    Apply("-aq 17");
    EXPECT_EQ(Rc().enableAQ, 1u);
    EXPECT_EQ(Rc().aqStrength, 1u);
    Apply("-aq 15");
    EXPECT_EQ(Rc().aqStrength, 15u);
    Apply("-aq -1");
    EXPECT_EQ(Rc().aqStrength, 15u);
    EXPECT_EQ(Rc().reservedBitFields, 0u);
}

TEST_F(InitParamTest, AFailedAqStrengthSwitchesNothing)
{
    ExpectRefused("-aq strong", "strong");
    EXPECT_EQ(Rc().enableAQ, 0u);
}

TEST_F(InitParamTest, GopSetsTheKeyPictureDistanceOfTheCodecToo)
{
    Apply("-gop 30");
    EXPECT_EQ(m_config.gopLength, 30u);
    EXPECT_EQ(H264().idrPeriod, 30u);

    m_config = {};
    Apply("-codec hevc -gop 31");
    EXPECT_EQ(m_config.gopLength, 31u);
    EXPECT_EQ(Hevc().idrPeriod, 31u);
    EXPECT_EQ(H264().idrPeriod, 0u);
}

TEST_F(InitParamTest, FullChromaIsASwitchOfTheCodec)
{
    Apply("-444");
    EXPECT_EQ(H264().chromaFormatIDC, 3u);
    EXPECT_EQ(Hevc().chromaFormatIDC, 0u);

    m_config = {};
    Apply("-444 -codec hevc");
    EXPECT_EQ(Hevc().chromaFormatIDC, 3u);
    EXPECT_EQ(H264().chromaFormatIDC, 0u);
}

TEST_F(InitParamTest, TenBitSurfacesSetTheBitDepthOfHevcAlone)
{
    for (const auto eFormat : {NV_ENC_BUFFER_FORMAT_YUV420_10BIT, NV_ENC_BUFFER_FORMAT_YUV444_10BIT})
    {
        m_config = {};
        Apply("-codec hevc", eFormat);
        EXPECT_EQ(Hevc().pixelBitDepthMinus8, 2u);
        m_config = {};
        Apply("-codec h264", eFormat);
        EXPECT_EQ(Hevc().pixelBitDepthMinus8, 0u);
    }
    m_config = {};
    Apply("-codec hevc", NV_ENC_BUFFER_FORMAT_ARGB10);
    EXPECT_EQ(Hevc().pixelBitDepthMinus8, 0u);
}

TEST_F(InitParamTest, AnUnknownTokenIsRefusedAndNamed)
{
    ExpectRefused("-what", "-what");
    ExpectRefused("fps 30", "fps");
    ExpectRefused("-fps 25 25", "25");
    ExpectRefused("-FPSx 30", "-fpsx");
}

TEST_F(InitParamTest, WhatEarlierOptionsWroteStays)
{
    ExpectRefused("-fps 25 -bitrate 1k -what -gop 9", "-what");
    EXPECT_EQ(m_params.frameRateNum, 25u);
    EXPECT_EQ(Rc().averageBitRate, 1000u);
    EXPECT_EQ(m_config.gopLength, 0u);
}

TEST_F(InitParamTest, AnOptionWithoutItsValueIsRefusedAndNamed)
{
    for (const char* pszOption :
         {"-profile", "-rc", "-fps", "-bf", "-bitrate", "-maxbitrate", "-vbvbufsize", "-vbvinit", "-cq", "-initqp",
          "-qmin", "-qmax", "-constqp", "-lookahead", "-aq", "-gop"})
    {
        ExpectRefused(pszOption, pszOption);
        ExpectRefused(std::string("-temporalaq ") + pszOption, pszOption);
    }
}

TEST_F(InitParamTest, ACodecOrPresetWithoutItsValueIsPassedOver)
{
    EXPECT_NO_THROW(Apply("-fps 25 -codec"));
    EXPECT_NO_THROW(Apply("-preset"));
    EXPECT_EQ(NvEncoderInitParam("-codec").GetEncodeGUID(), NV_ENC_CODEC_H264_GUID);
}
