// Settings as text. The texts are written out in full: every label, every order, every oddity.
#include <clocale>
#include <functional>
#include <locale>
#include <sstream>

#include <gtest/gtest.h>

#include "NV_Video_Codec_SDK/NvEncoder/NvEncoderInitParam.h"

namespace
{
class SettingsTextTest : public testing::Test
{
protected:
    SettingsTextTest() { m_params.encodeConfig = &m_config; }

    std::string Text() { return NvEncoderInitParam("").FullParamToString(&m_params); }

    std::string Line(const std::string& strLabel)
    {
        std::istringstream stream(Text());
        for (std::string strLine; std::getline(stream, strLine);)
        {
            if (strLine.compare(0, strLabel.size(), strLabel) == 0) return strLine;
        }
        return "(no such line)";
    }

    // What a stream makes of the address of the motion hints, which differs from run to run.
    std::string HintAddress()
    {
        std::ostringstream stream;
        stream << static_cast<const void*>(&m_params.maxMEHintCountsPerBlock);
        return stream.str();
    }

    void FillCommon();

    NV_ENC_INITIALIZE_PARAMS m_params = {};
    NV_ENC_CONFIG m_config = {};
};

void SettingsTextTest::FillCommon()
{
    m_params.presetGUID = NV_ENC_PRESET_LOW_LATENCY_HQ_GUID;
    m_params.encodeWidth = 1001;
    m_params.encodeHeight = 1002;
    m_params.darWidth = 1003;
    m_params.darHeight = 1004;
    m_params.frameRateNum = 1005;
    m_params.frameRateDen = 1006;
    m_params.enableEncodeAsync = 1007;
    m_params.reportSliceOffsets = 1;
    m_params.enableExternalMEHints = 1;
    m_params.enableWeightedPrediction = 1;
    m_params.maxEncodeWidth = 1008;
    m_params.maxEncodeHeight = 1009;

    m_config.gopLength = 0xFFFFFFFF;
    m_config.frameIntervalP = -3;
    m_config.monoChromeEncoding = 1011;
    m_config.frameFieldMode = NV_ENC_PARAMS_FRAME_FIELD_MODE_MBAFF;
    m_config.mvPrecision = NV_ENC_MV_PRECISION_QUARTER_PEL;

    NV_ENC_RC_PARAMS& rc = m_config.rcParams;
    rc.rateControlMode = NV_ENC_PARAMS_RC_VBR_HQ;
    rc.constQP = {24, 28, 21};
    rc.averageBitRate = 2001;
    rc.maxBitRate = 2002;
    rc.vbvBufferSize = 2003;
    rc.vbvInitialDelay = 2004;
    rc.enableMaxQP = 1;
    rc.enableAQ = 1;
    rc.qpMapMode = NV_ENC_QP_MAP_DELTA;
    rc.enableLookahead = 1;
    rc.disableBadapt = 1;
    rc.zeroReorderDelay = 1;
    rc.strictGOPTarget = 1;
    rc.aqStrength = 15;
    rc.minQP = {31, 32, 33};
    rc.maxQP = {41, 42, 43};
    rc.initialRCQP = {51, 52, 53};
    rc.temporallayerIdxMask = 2005;
    for (int i = 0; i < 8; ++i)
        rc.temporalLayerQP[i] = static_cast<std::uint8_t>(248 + i);
    rc.targetQuality = 'A';
    rc.lookaheadDepth = 2006;
}

void FillVui(NV_ENC_CONFIG_H264_VUI_PARAMETERS& vui)
{
    vui.overscanInfoPresentFlag = 4001;
    vui.overscanInfo = 4002;
    vui.videoSignalTypePresentFlag = 4003;
    vui.videoFormat = 4004;
    vui.videoFullRangeFlag = 4005;
    vui.colourDescriptionPresentFlag = 4006;
    vui.colourPrimaries = 4007;
    vui.transferCharacteristics = 4008;
    vui.colourMatrix = 4009;
    vui.chromaSampleLocationFlag = 4010;
    vui.chromaSampleLocationTop = 4011;
    vui.chromaSampleLocationBot = 4012;
    vui.bitstreamRestrictionFlag = 4013;
}

// The part that all codecs share, from FillCommon; strHints: the address of the motion hints.
std::string CommonText(const std::string& strCodec, const std::string& strProfile, const std::string& strHints)
{
    return "NV_ENC_INITIALIZE_PARAMS:\n"
           "encodeGUID: " +
           strCodec +
           "\n"
           "presetGUID: ll_hq\n"
           "encodeWidth: 1001\n"
           "encodeHeight: 1002\n"
           "darWidth: 1003\n"
           "darHeight: 1004\n"
           "frameRateNum: 1005\n"
           "frameRateDen: 1006\n"
           "enableEncodeAsync: 1007\n"
           "reportSliceOffsets: 1\n"
           "enableSubFrameWrite: 0\n"
           "enableExternalMEHints: 1\n"
           "enableMEOnlyMode: 0\n"
           "enableWeightedPrediction: 1\n"
           "maxEncodeWidth: 1008\n"
           "maxEncodeHeight: 1009\n"
           "maxMEHintCountsPerBlock: " +
           strHints +
           "\n"
           "NV_ENC_CONFIG:\n"
           "profile: " +
           strProfile +
           "\n"
           "gopLength: 4294967295\n"
           "frameIntervalP: -3\n"
           "monoChromeEncoding: 1011\n"
           "frameFieldMode: 3\n"
           "mvPrecision: 3\n"
           "NV_ENC_RC_PARAMS:\n"
           "    rateControlMode: 0x20\n"
           "    constQP: 24, 28, 21\n"
           "    averageBitRate:  2001\n"
           "    maxBitRate:      2002\n"
           "    vbvBufferSize:   2003\n"
           "    vbvInitialDelay: 2004\n"
           "    enableMinQP: 0\n"
           "    enableMaxQP: 1\n"
           "    enableInitialRCQP: 0\n"
           "    enableAQ: 1\n"
           "    qpMapMode: delta_qp_map\n"
           "    enableLookahead: 1\n"
           "    disableIadapt: 0\n"
           "    disableBadapt: 1\n"
           "    enableTemporalAQ: 0\n"
           "    zeroReorderDelay: 1\n"
           "    enableNonRefP: 0\n"
           "    strictGOPTarget: 1\n"
           "    aqStrength: 15\n"
           "    minQP: 31, 32, 33\n"
           "    maxQP: 41, 42, 43\n"
           "    initialRCQP: 51, 52, 53\n"
           "    temporallayerIdxMask: 2005\n"
           "    temporalLayerQP: 248, 249, 250, 251, 252, 253, 254, 255\n"
           "    targetQuality: A\n"
           "    lookaheadDepth: 2006\n";
}

const char g_szVuiText[] = "        overscanInfoPresentFlag: 4001\n"
                           "        overscanInfo: 4002\n"
                           "        videoSignalTypePresentFlag: 4003\n"
                           "        videoFormat: 4004\n"
                           "        videoFullRangeFlag: 4005\n"
                           "        colourDescriptionPresentFlag: 4006\n"
                           "        colourPrimaries: 4007\n"
                           "        transferCharacteristics: 4008\n"
                           "        colourMatrix: 4009\n"
                           "        chromaSampleLocationFlag: 4010\n"
                           "        chromaSampleLocationTop: 4011\n"
                           "        chromaSampleLocationBot: 4012\n"
                           "        bitstreamRestrictionFlag: 4013\n";
}  // namespace

TEST_F(SettingsTextTest, OfH264IsThisText)
{
    FillCommon();
    m_params.encodeGUID = NV_ENC_CODEC_H264_GUID;
    m_config.profileGUID = NV_ENC_H264_PROFILE_HIGH_GUID;
    NV_ENC_CONFIG_H264& h264 = m_config.encodeCodecConfig.h264Config;
    h264.enableTemporalSVC = 1;
    h264.hierarchicalPFrames = 1;
    h264.outputBufferingPeriodSEI = 1;
    h264.outputAUD = 1;
    h264.outputFramePackingSEI = 1;
    h264.enableIntraRefresh = 1;
    h264.repeatSPSPPS = 1;
    h264.enableLTR = 1;
    h264.useConstrainedIntraPred = 1;
    h264.level = 3001;
    h264.idrPeriod = 3002;
    h264.separateColourPlaneFlag = 3003;
    h264.disableDeblockingFilterIDC = 3004;
    h264.numTemporalLayers = 3005;
    h264.spsId = 3006;
    h264.ppsId = 3007;
    h264.adaptiveTransformMode = NV_ENC_H264_ADAPTIVE_TRANSFORM_ENABLE;
    h264.fmoMode = NV_ENC_H264_FMO_ENABLE;
    h264.bdirectMode = NV_ENC_H264_BDIRECT_MODE_SPATIAL;
    h264.entropyCodingMode = NV_ENC_H264_ENTROPY_CODING_MODE_CABAC;
    h264.stereoMode = NV_ENC_STEREO_PACKING_MODE_FRAMESEQ;
    h264.intraRefreshPeriod = 3008;
    h264.intraRefreshCnt = 3009;
    h264.maxNumRefFrames = 3010;
    h264.sliceMode = 3011;
    h264.sliceModeData = 3012;
    FillVui(h264.h264VUIParameters);
    h264.ltrNumFrames = 3013;
    h264.ltrTrustMode = 3014;
    h264.chromaFormatIDC = 3015;
    h264.maxTemporalLayers = 3016;

    EXPECT_EQ(Text(), CommonText("h264", "high(h264)", HintAddress()) +
                          "NV_ENC_CODEC_CONFIG (H264):\n"
                          "    enableTemporalSVC: 1\n"
                          "    enableStereoMVC: 0\n"
                          "    hierarchicalPFrames: 1\n"
                          "    hierarchicalBFrames: 0\n"
                          "    outputBufferingPeriodSEI: 1\n"
                          "    outputPictureTimingSEI: 0\n"
                          "    outputAUD: 1\n"
                          "    disableSPSPPS: 0\n"
                          "    outputFramePackingSEI: 1\n"
                          "    outputRecoveryPointSEI: 0\n"
                          "    enableIntraRefresh: 1\n"
                          "    enableConstrainedEncoding: 0\n"
                          "    repeatSPSPPS: 1\n"
                          "    enableVFR: 0\n"
                          "    enableLTR: 1\n"
                          "    qpPrimeYZeroTransformBypassFlag: 0\n"
                          "    useConstrainedIntraPred: 1\n"
                          "    level: 3001\n"
                          "    idrPeriod: 3002\n"
                          "    separateColourPlaneFlag: 3003\n"
                          "    disableDeblockingFilterIDC: 3004\n"
                          "    numTemporalLayers: 3005\n"
                          "    enableTemporalSVC: 1\n"
                          "    spsId: 3006\n"
                          "    ppsId: 3007\n"
                          "    adaptiveTransformMode: 2\n"
                          "    fmoMode: 1\n"
                          "    bdirectMode: 3\n"
                          "    entropyCodingMode: 1\n"
                          "    stereoMode: 6\n"
                          "    intraRefreshPeriod: 3008\n"
                          "    intraRefreshCnt: 3009\n"
                          "    maxNumRefFrames: 3010\n"
                          "    sliceMode: 3011\n"
                          "    sliceModeData: 3012\n"
                          "    NV_ENC_CONFIG_H264_VUI_PARAMETERS:\n" +
                          g_szVuiText +
                          "    ltrNumFrames: 3013\n"
                          "    ltrTrustMode: 3014\n"
                          "    chromaFormatIDC: 3015\n"
                          "    maxTemporalLayers: 3016\n");
}

TEST_F(SettingsTextTest, OfHevcIsThisText)
{
    FillCommon();
    m_params.encodeGUID = NV_ENC_CODEC_HEVC_GUID;
    m_config.profileGUID = NV_ENC_HEVC_PROFILE_MAIN10_GUID;
    NV_ENC_CONFIG_HEVC& hevc = m_config.encodeCodecConfig.hevcConfig;
    hevc.level = 5001;
    hevc.tier = 5002;
    hevc.minCUSize = NV_ENC_HEVC_CUSIZE_8x8;
    hevc.maxCUSize = NV_ENC_HEVC_CUSIZE_64x64;
    hevc.useConstrainedIntraPred = 1;
    hevc.outputBufferingPeriodSEI = 1;
    hevc.outputAUD = 1;
    hevc.disableSPSPPS = 1;
    hevc.enableIntraRefresh = 1;
    hevc.chromaFormatIDC = 3;
    hevc.pixelBitDepthMinus8 = 2;
    hevc.idrPeriod = 5003;
    hevc.intraRefreshPeriod = 5004;
    hevc.intraRefreshCnt = 5005;
    hevc.maxNumRefFramesInDPB = 5006;
    hevc.ltrNumFrames = 5007;
    hevc.vpsId = 5008;
    hevc.spsId = 5009;
    hevc.ppsId = 5010;
    hevc.sliceMode = 5011;
    hevc.sliceModeData = 5012;
    hevc.maxTemporalLayersMinus1 = 5013;
    FillVui(hevc.hevcVUIParameters);
    hevc.ltrTrustMode = 5014;

    EXPECT_EQ(Text(), CommonText("hevc", "main10(hevc)", HintAddress()) +
                          "NV_ENC_CODEC_CONFIG (HEVC):\n"
                          "    level: 5001\n"
                          "    tier: 5002\n"
                          "    minCUSize: 1\n"
                          "    maxCUSize: 4\n"
                          "    useConstrainedIntraPred: 1\n"
                          "    disableDeblockAcrossSliceBoundary: 0\n"
                          "    outputBufferingPeriodSEI: 1\n"
                          "    outputPictureTimingSEI: 0\n"
                          "    outputAUD: 1\n"
                          "    enableLTR: 0\n"
                          "    disableSPSPPS: 1\n"
                          "    repeatSPSPPS: 0\n"
                          "    enableIntraRefresh: 1\n"
                          "    chromaFormatIDC: 3\n"
                          "    pixelBitDepthMinus8: 2\n"
                          "    idrPeriod: 5003\n"
                          "    intraRefreshPeriod: 5004\n"
                          "    intraRefreshCnt: 5005\n"
                          "    maxNumRefFramesInDPB: 5006\n"
                          "    ltrNumFrames: 5007\n"
                          "    vpsId: 5008\n"
                          "    spsId: 5009\n"
                          "    ppsId: 5010\n"
                          "    sliceMode: 5011\n"
                          "    sliceModeData: 5012\n"
                          "    maxTemporalLayersMinus1: 5013\n"
                          "    NV_ENC_CONFIG_HEVC_VUI_PARAMETERS:\n" +
                          g_szVuiText + "    ltrTrustMode: 5014\n");
}

TEST_F(SettingsTextTest, OfAnotherCodecEndsBeforeItsSettings)
{
    FillCommon();
    m_params.encodeGUID = NV_ENC_PRESET_BD_GUID;
    m_config.profileGUID = GUID{};
    EXPECT_EQ(Text(), CommonText("", "(default)", HintAddress()));
}

TEST_F(SettingsTextTest, EverySwitchHasItsOwnLine)
{
    NV_ENC_RC_PARAMS& rc = m_config.rcParams;
    NV_ENC_CONFIG_H264& h264 = m_config.encodeCodecConfig.h264Config;
    NV_ENC_CONFIG_HEVC& hevc = m_config.encodeCodecConfig.hevcConfig;
    struct SSwitch
    {
        const char* m_pszLabel;
        GUID m_codecGuid;
        std::function<void()> m_funcSet;
    };
    const GUID h264Guid = NV_ENC_CODEC_H264_GUID;
    const GUID hevcGuid = NV_ENC_CODEC_HEVC_GUID;
    const SSwitch aSwitches[] = {
        {"reportSliceOffsets: ", h264Guid, [&] { m_params.reportSliceOffsets = 1; }},
        {"enableSubFrameWrite: ", h264Guid, [&] { m_params.enableSubFrameWrite = 1; }},
        {"enableExternalMEHints: ", h264Guid, [&] { m_params.enableExternalMEHints = 1; }},
        {"enableMEOnlyMode: ", h264Guid, [&] { m_params.enableMEOnlyMode = 1; }},
        {"enableWeightedPrediction: ", h264Guid, [&] { m_params.enableWeightedPrediction = 1; }},
        {"    enableMinQP: ", h264Guid, [&] { rc.enableMinQP = 1; }},
        {"    enableMaxQP: ", h264Guid, [&] { rc.enableMaxQP = 1; }},
        {"    enableInitialRCQP: ", h264Guid, [&] { rc.enableInitialRCQP = 1; }},
        {"    enableAQ: ", h264Guid, [&] { rc.enableAQ = 1; }},
        {"    enableLookahead: ", h264Guid, [&] { rc.enableLookahead = 1; }},
        {"    disableIadapt: ", h264Guid, [&] { rc.disableIadapt = 1; }},
        {"    disableBadapt: ", h264Guid, [&] { rc.disableBadapt = 1; }},
        {"    enableTemporalAQ: ", h264Guid, [&] { rc.enableTemporalAQ = 1; }},
        {"    zeroReorderDelay: ", h264Guid, [&] { rc.zeroReorderDelay = 1; }},
        {"    enableNonRefP: ", h264Guid, [&] { rc.enableNonRefP = 1; }},
        {"    strictGOPTarget: ", h264Guid, [&] { rc.strictGOPTarget = 1; }},
        {"    enableStereoMVC: ", h264Guid, [&] { h264.enableStereoMVC = 1; }},
        {"    hierarchicalPFrames: ", h264Guid, [&] { h264.hierarchicalPFrames = 1; }},
        {"    hierarchicalBFrames: ", h264Guid, [&] { h264.hierarchicalBFrames = 1; }},
        {"    outputBufferingPeriodSEI: ", h264Guid, [&] { h264.outputBufferingPeriodSEI = 1; }},
        {"    outputPictureTimingSEI: ", h264Guid, [&] { h264.outputPictureTimingSEI = 1; }},
        {"    outputAUD: ", h264Guid, [&] { h264.outputAUD = 1; }},
        {"    disableSPSPPS: ", h264Guid, [&] { h264.disableSPSPPS = 1; }},
        {"    outputFramePackingSEI: ", h264Guid, [&] { h264.outputFramePackingSEI = 1; }},
        {"    outputRecoveryPointSEI: ", h264Guid, [&] { h264.outputRecoveryPointSEI = 1; }},
        {"    enableIntraRefresh: ", h264Guid, [&] { h264.enableIntraRefresh = 1; }},
        {"    enableConstrainedEncoding: ", h264Guid, [&] { h264.enableConstrainedEncoding = 1; }},
        {"    repeatSPSPPS: ", h264Guid, [&] { h264.repeatSPSPPS = 1; }},
        {"    enableVFR: ", h264Guid, [&] { h264.enableVFR = 1; }},
        {"    enableLTR: ", h264Guid, [&] { h264.enableLTR = 1; }},
        {"    qpPrimeYZeroTransformBypassFlag: ", h264Guid, [&] { h264.qpPrimeYZeroTransformBypassFlag = 1; }},
        {"    useConstrainedIntraPred: ", h264Guid, [&] { h264.useConstrainedIntraPred = 1; }},
        {"    useConstrainedIntraPred: ", hevcGuid, [&] { hevc.useConstrainedIntraPred = 1; }},
        {"    disableDeblockAcrossSliceBoundary: ", hevcGuid, [&] { hevc.disableDeblockAcrossSliceBoundary = 1; }},
        {"    outputBufferingPeriodSEI: ", hevcGuid, [&] { hevc.outputBufferingPeriodSEI = 1; }},
        {"    outputPictureTimingSEI: ", hevcGuid, [&] { hevc.outputPictureTimingSEI = 1; }},
        {"    outputAUD: ", hevcGuid, [&] { hevc.outputAUD = 1; }},
        {"    enableLTR: ", hevcGuid, [&] { hevc.enableLTR = 1; }},
        {"    disableSPSPPS: ", hevcGuid, [&] { hevc.disableSPSPPS = 1; }},
        {"    repeatSPSPPS: ", hevcGuid, [&] { hevc.repeatSPSPPS = 1; }},
        {"    enableIntraRefresh: ", hevcGuid, [&] { hevc.enableIntraRefresh = 1; }},
    };
    for (const SSwitch& aSwitch : aSwitches)
    {
        m_params = {};
        m_params.encodeConfig = &m_config;
        m_params.encodeGUID = aSwitch.m_codecGuid;
        m_config = {};
        const std::string strLabel = aSwitch.m_pszLabel;
        std::string strExpected = Text();
        const std::size_t uiLine = strExpected.find("\n" + strLabel + "0\n");
        ASSERT_NE(uiLine, std::string::npos) << strLabel;
        strExpected[uiLine + 1 + strLabel.size()] = '1';
        aSwitch.m_funcSet();
        EXPECT_EQ(Text(), strExpected) << strLabel;
    }
}

TEST_F(SettingsTextTest, NamesCodecsPresetsAndProfiles)
{
    const std::pair<const char*, GUID> aPresets[] = {{"default", NV_ENC_PRESET_DEFAULT_GUID},
                                                     {"hp", NV_ENC_PRESET_HP_GUID},
                                                     {"hq", NV_ENC_PRESET_HQ_GUID},
                                                     {"bd", NV_ENC_PRESET_BD_GUID},
                                                     {"ll", NV_ENC_PRESET_LOW_LATENCY_DEFAULT_GUID},
                                                     {"ll_hp", NV_ENC_PRESET_LOW_LATENCY_HP_GUID},
                                                     {"ll_hq", NV_ENC_PRESET_LOW_LATENCY_HQ_GUID},
                                                     {"lossless", NV_ENC_PRESET_LOSSLESS_DEFAULT_GUID},
                                                     {"lossless_hp", NV_ENC_PRESET_LOSSLESS_HP_GUID},
                                                     {"", NV_ENC_CODEC_H264_GUID}};
    for (const auto& [pszName, guid] : aPresets)
    {
        m_params.presetGUID = guid;
        EXPECT_EQ(Line("presetGUID: "), std::string("presetGUID: ") + pszName);
    }
    const std::pair<const char*, GUID> aProfiles[] = {
        {"(default)", GUID{}},
        {"auto", NV_ENC_CODEC_PROFILE_AUTOSELECT_GUID},
        {"baseline(h264)", NV_ENC_H264_PROFILE_BASELINE_GUID},
        {"main(h264)", NV_ENC_H264_PROFILE_MAIN_GUID},
        {"high(h264)", NV_ENC_H264_PROFILE_HIGH_GUID},
        {"high444(h264)", NV_ENC_H264_PROFILE_HIGH_444_GUID},
        {"stereo(h264)", NV_ENC_H264_PROFILE_STEREO_GUID},
        {"svc_temporal_scalability(h264)", NV_ENC_H264_PROFILE_SVC_TEMPORAL_SCALABILTY},
        {"progressiv_high(h264)", NV_ENC_H264_PROFILE_PROGRESSIVE_HIGH_GUID},
        {"constrained_high(h264)", NV_ENC_H264_PROFILE_CONSTRAINED_HIGH_GUID},
        {"main(hevc)", NV_ENC_HEVC_PROFILE_MAIN_GUID},
        {"main10(hevc)", NV_ENC_HEVC_PROFILE_MAIN10_GUID},
        {"frext(hevc)", NV_ENC_HEVC_PROFILE_FREXT_GUID},
        {"", NV_ENC_CODEC_H264_GUID}};
    for (const auto& [pszName, guid] : aProfiles)
    {
        m_config.profileGUID = guid;
        EXPECT_EQ(Line("profile: "), std::string("profile: ") + pszName);
    }
}

TEST_F(SettingsTextTest, NamesQpMapModes)
{
    const char* aNames[] = {"disabled", "emphasis_level_map", "delta_qp_map", "qp_map", ""};
    for (int i = 0; i < 5; ++i)
    {
        m_config.rcParams.qpMapMode = static_cast<NV_ENC_QP_MAP_MODE>(i);
        EXPECT_EQ(Line("    qpMapMode: "), std::string("    qpMapMode: ") + aNames[i]);
    }
}

TEST_F(SettingsTextTest, WritesRateControlInHexadecimalAndGoesBackToDecimal)
{
    m_config.rcParams.rateControlMode = static_cast<NV_ENC_PARAMS_RC_MODE>(0x2A);
    m_config.rcParams.averageBitRate = 31;
    EXPECT_EQ(Line("    rateControlMode: "), "    rateControlMode: 0x2a");
    EXPECT_EQ(Line("    averageBitRate: "), "    averageBitRate:  31");
}

TEST_F(SettingsTextTest, WritesTargetQualityAsACharacterEvenIfItIsNul)
{
    EXPECT_EQ(Line("    targetQuality: "), std::string("    targetQuality: ") + '\0');
    m_config.rcParams.targetQuality = 51;
    EXPECT_EQ(Line("    targetQuality: "), "    targetQuality: 3");
}

TEST_F(SettingsTextTest, WritesNumbersAlikeInEveryLocale)
{
    struct GroupingPunctuation : std::numpunct<char>
    {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new GroupingPunctuation));
    m_config.rcParams.maxBitRate = 1234567;
    const std::string strLine = Line("    maxBitRate: ");
    std::locale::global(before);
    EXPECT_EQ(strLine, "    maxBitRate:      1234567");
}
