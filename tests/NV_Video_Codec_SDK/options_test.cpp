// Each option of an option set, and the texts that are none.
#include "init_param_fixture.h"

namespace
{
using OptionsTest = InitParamTest;

void ExpectQp(const NV_ENC_QP& qp, std::uint32_t uiP, std::uint32_t uiB, std::uint32_t uiI)
{
    EXPECT_EQ(qp.qpInterP, uiP);
    EXPECT_EQ(qp.qpInterB, uiB);
    EXPECT_EQ(qp.qpIntra, uiI);
}
}  // namespace

TEST_F(OptionsTest, ProfileReadsTheTableOfTheCodec)
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

TEST_F(OptionsTest, RateControlReadsItsNames)
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

TEST_F(OptionsTest, AnUnknownRateControlRunsThroughTheTableAndIsNamed)
{
    ExpectRefused("-rc vbr2", "vbr2");
}

TEST_F(OptionsTest, AValueThatIsALaterOptionIsTakenAsThatOption)
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

TEST_F(OptionsTest, AValueThatIsANumberIsNeverReadAsAnOption)
{
    Apply("-gop -444");
    EXPECT_EQ(m_config.gopLength, 4294966852u);
    EXPECT_EQ(H264().chromaFormatIDC, 0u);
}

TEST_F(OptionsTest, AValueThatIsAnEarlierOptionIsRefused)
{
    ExpectRefused("-lookahead -rc vbr", "-rc");
    ExpectRefused("-rc -rc vbr", "-rc");
    ExpectRefused("-gop -codec hevc", "-codec");
}

TEST_F(OptionsTest, FpsTakesTheNumberInFrontOfOtherCharacters)
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

TEST_F(OptionsTest, IntegersThatDoNotFitAreOutOfRange)
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

TEST_F(OptionsTest, BPicturesMakeTheReferenceDistance)
{
    Apply("-bf 2");
    EXPECT_EQ(m_config.frameIntervalP, 3);
    Apply("-bf 0");
    EXPECT_EQ(m_config.frameIntervalP, 1);
    Apply("-bf -3");
    EXPECT_EQ(m_config.frameIntervalP, -2);
}

TEST_F(OptionsTest, ABPictureCountOfMinusOneIsStoredAsNoDistanceAndRefused)
{
    m_config.frameIntervalP = 7;
    ExpectRefused("-bf -1", "-1");
    EXPECT_EQ(m_config.frameIntervalP, 0);
}

TEST_F(OptionsTest, TheLargestBPictureCountIsRefusedAndNotStored)
{
    m_config.frameIntervalP = 7;
    ExpectRefused("-bf 2147483647", "2147483647");
    EXPECT_EQ(m_config.frameIntervalP, 7);
}

TEST_F(OptionsTest, BitRatesHaveUnits)
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

TEST_F(OptionsTest, EachBitRateOptionHasItsSetting)
{
    Apply("-bitrate 1k -maxbitrate 2k -vbvbufsize 3k -vbvinit 4k");
    EXPECT_EQ(Rc().averageBitRate, 1000u);
    EXPECT_EQ(Rc().maxBitRate, 2000u);
    EXPECT_EQ(Rc().vbvBufferSize, 3000u);
    EXPECT_EQ(Rc().vbvInitialDelay, 4000u);
}

TEST_F(OptionsTest, BitRatesThatDoNotFitAreOutOfRange)
{
    Rc().averageBitRate = 5;
    for (const char* pszRate :
         {"1e999", "-1e999", "1e-999", "4294967296", "4294.968m", "1e300k", "-1", "-3k", "inf", "-inf", "nan"})
    {
        ExpectOutOfRange(std::string("-bitrate ") + pszRate, "stod argument out of range");
    }
    EXPECT_EQ(Rc().averageBitRate, 5u);
}

TEST_F(OptionsTest, TargetQualityIsCutToAByte)
{
    Apply("-cq 23");
    EXPECT_EQ(Rc().targetQuality, 23u);
    Apply("-cq 300");
    EXPECT_EQ(Rc().targetQuality, 44u);
}

TEST_F(OptionsTest, OneQuantiserStandsForAllThree)
{
    Apply("-qmin 20");
    ExpectQp(Rc().minQP, 20, 20, 20);
    EXPECT_EQ(Rc().enableMinQP, 1u);
    Apply("-qmin 21,");  // nothing after the last comma is no part
    ExpectQp(Rc().minQP, 21, 21, 21);
}

TEST_F(OptionsTest, TwoQuantisersAreRefusedAndNamed)
{
    Rc().minQP = {1, 2, 3};
    for (const char* pszValue : {"20,22", ",20", "20,22,24,26", ",", "a", "20,22,x", "20,,22"})
    {
        ExpectRefused(std::string("-qmin ") + pszValue, pszValue);
    }
    ExpectQp(Rc().minQP, 1, 2, 3);
    EXPECT_EQ(Rc().enableMinQP, 0u);
}

TEST_F(OptionsTest, EachQuantiserOptionHasItsSetting)
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

TEST_F(OptionsTest, AQuantiserSwitchesOnlyItsOwnLimit)
{
    Apply("-qmax 40");
    EXPECT_EQ(Rc().enableMaxQP, 1u);
    EXPECT_EQ(Rc().enableMinQP, 0u);
    EXPECT_EQ(Rc().enableInitialRCQP, 0u);
    Apply("-initqp 30");
    EXPECT_EQ(Rc().enableInitialRCQP, 1u);
    EXPECT_EQ(Rc().enableMinQP, 0u);
}

TEST_F(OptionsTest, TemporalAqIsASwitch)
{
    Apply("-temporalaq");
    EXPECT_EQ(Rc().enableTemporalAQ, 1u);
    EXPECT_EQ(Rc().enableAQ, 0u);
}

TEST_F(OptionsTest, LookAheadIsOnAboveZero)
{
    Apply("-lookahead 8");
    EXPECT_EQ(Rc().lookaheadDepth, 8u);
    EXPECT_EQ(Rc().enableLookahead, 1u);
    Apply("-lookahead 0");
    EXPECT_EQ(Rc().lookaheadDepth, 0u);
    EXPECT_EQ(Rc().enableLookahead, 0u);
}

TEST_F(OptionsTest, LookAheadIsCutToSixteenBits)
{
    Apply("-lookahead -1");
    EXPECT_EQ(Rc().lookaheadDepth, 65535u);
    EXPECT_EQ(Rc().enableLookahead, 1u);
    Apply("-lookahead 65536");
    EXPECT_EQ(Rc().lookaheadDepth, 0u);
    EXPECT_EQ(Rc().enableLookahead, 0u);
}

TEST_F(OptionsTest, AqStrengthTakesTheLowFourBits)
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

TEST_F(OptionsTest, AFailedAqStrengthSwitchesNothing)
{
    ExpectRefused("-aq strong", "strong");
    EXPECT_EQ(Rc().enableAQ, 0u);
}

TEST_F(OptionsTest, GopSetsTheKeyPictureDistanceOfTheCodecToo)
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

TEST_F(OptionsTest, FullChromaIsASwitchOfTheCodec)
{
    Apply("-444");
    EXPECT_EQ(H264().chromaFormatIDC, 3u);
    EXPECT_EQ(Hevc().chromaFormatIDC, 0u);

    m_config = {};
    Apply("-444 -codec hevc");
    EXPECT_EQ(Hevc().chromaFormatIDC, 3u);
    EXPECT_EQ(H264().chromaFormatIDC, 0u);
}

TEST_F(OptionsTest, TenBitSurfacesSetTheBitDepthOfHevcAlone)
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

TEST_F(OptionsTest, AnUnknownTokenIsRefusedAndNamed)
{
    ExpectRefused("-what", "-what");
    ExpectRefused("fps 30", "fps");
    ExpectRefused("-fps 25 25", "25");
    ExpectRefused("-FPSx 30", "-fpsx");
}

TEST_F(OptionsTest, WhatEarlierOptionsWroteStays)
{
    ExpectRefused("-fps 25 -bitrate 1k -what -gop 9", "-what");
    EXPECT_EQ(m_params.frameRateNum, 25u);
    EXPECT_EQ(Rc().averageBitRate, 1000u);
    EXPECT_EQ(m_config.gopLength, 0u);
}

TEST_F(OptionsTest, AnOptionWithoutItsValueIsRefusedAndNamed)
{
    for (const char* pszOption :
         {"-profile", "-rc", "-fps", "-bf", "-bitrate", "-maxbitrate", "-vbvbufsize", "-vbvinit", "-cq", "-initqp",
          "-qmin", "-qmax", "-constqp", "-lookahead", "-aq", "-gop"})
    {
        ExpectRefused(pszOption, pszOption);
        ExpectRefused(std::string("-temporalaq ") + pszOption, pszOption);
    }
}

TEST_F(OptionsTest, ACodecOrPresetWithoutItsValueIsPassedOver)
{
    EXPECT_NO_THROW(Apply("-fps 25 -codec"));
    EXPECT_NO_THROW(Apply("-preset"));
    EXPECT_EQ(NvEncoderInitParam("-codec").GetEncodeGUID(), NV_ENC_CODEC_H264_GUID);
}
