// The settings of an encoder as text, for the diagnostics. People compare such texts, so that labels, order and the odd
// repetition stay as they are.
#include <algorithm>
#include <locale>
#include <sstream>

#include "NV_Video_Codec_SDK/NvEncoder/NvEncoderInitParam.h"
#include "NV_Video_Codec_SDK/NvEncoder/OptionText.h"

namespace
{
// Collects lines, each a label and a value as a stream prints it. Numbers look the same whatever the locale.
class SettingsText
{
public:
    SettingsText() { m_stream.imbue(std::locale::classic()); }

    void Heading(const char* pszText) { m_stream << pszText << '\n'; }

    template <typename T>
    void Line(const char* pszLabel, const T& value)
    {
        m_stream << pszLabel << value << '\n';
    }

    void Hex(const char* pszLabel, std::uint32_t uiValue)
    {
        m_stream << pszLabel << std::hex << uiValue << std::dec << '\n';
    }

    void Qp(const char* pszLabel, const NV_ENC_QP& qp)
    {
        m_stream << pszLabel << qp.qpInterP << ", " << qp.qpInterB << ", " << qp.qpIntra << '\n';
    }

    // Bytes as numbers.
    template <std::size_t N>
    void Bytes(const char* pszLabel, const std::uint8_t (&aBytes)[N])
    {
        m_stream << pszLabel;
        for (std::size_t i = 0; i < N; ++i)
            m_stream << (i == 0 ? "" : ", ") << unsigned{aBytes[i]};
        m_stream << '\n';
    }

    std::string GetText() const { return m_stream.str(); }

private:
    std::ostringstream m_stream;
};

// The name that stands for a value; empty when none does.
template <typename T>
std::string FindName(const std::string& strNames, const std::vector<T>& vValues, const T& value)
{
    const auto it = std::find(vValues.begin(), vValues.end(), value);
    if (it == vValues.end()) return "";
    return SplitText(strNames, ' ')[static_cast<std::size_t>(it - vValues.begin())];
}

void AddRateControl(SettingsText& text, const NV_ENC_RC_PARAMS& rc, const std::string& strQpMapMode)
{
    text.Heading("NV_ENC_RC_PARAMS:");
    text.Hex("    rateControlMode: 0x", rc.rateControlMode);
    text.Qp("    constQP: ", rc.constQP);
    text.Line("    averageBitRate:  ", rc.averageBitRate);
    text.Line("    maxBitRate:      ", rc.maxBitRate);
    text.Line("    vbvBufferSize:   ", rc.vbvBufferSize);
    text.Line("    vbvInitialDelay: ", rc.vbvInitialDelay);
    text.Line("    enableMinQP: ", rc.enableMinQP);
    text.Line("    enableMaxQP: ", rc.enableMaxQP);
    text.Line("    enableInitialRCQP: ", rc.enableInitialRCQP);
    text.Line("    enableAQ: ", rc.enableAQ);
    text.Line("    qpMapMode: ", strQpMapMode);
    text.Line("    enableLookahead: ", rc.enableLookahead);
    text.Line("    disableIadapt: ", rc.disableIadapt);
    text.Line("    disableBadapt: ", rc.disableBadapt);
    text.Line("    enableTemporalAQ: ", rc.enableTemporalAQ);
    text.Line("    zeroReorderDelay: ", rc.zeroReorderDelay);
    text.Line("    enableNonRefP: ", rc.enableNonRefP);
    text.Line("    strictGOPTarget: ", rc.strictGOPTarget);
    text.Line("    aqStrength: ", rc.aqStrength);
    text.Qp("    minQP: ", rc.minQP);
    text.Qp("    maxQP: ", rc.maxQP);
    text.Qp("    initialRCQP: ", rc.initialRCQP);
    text.Line("    temporallayerIdxMask: ", rc.temporallayerIdxMask);
    text.Bytes("    temporalLayerQP: ", rc.temporalLayerQP);
    // A byte goes into a stream as a character, and is left so.
    text.Line("    targetQuality: ", rc.targetQuality);
    text.Line("    lookaheadDepth: ", rc.lookaheadDepth);
}

void AddVui(SettingsText& text, const NV_ENC_CONFIG_H264_VUI_PARAMETERS& vui)
{
    text.Line("        overscanInfoPresentFlag: ", vui.overscanInfoPresentFlag);
    text.Line("        overscanInfo: ", vui.overscanInfo);
    text.Line("        videoSignalTypePresentFlag: ", vui.videoSignalTypePresentFlag);
    text.Line("        videoFormat: ", vui.videoFormat);
    text.Line("        videoFullRangeFlag: ", vui.videoFullRangeFlag);
    text.Line("        colourDescriptionPresentFlag: ", vui.colourDescriptionPresentFlag);
    text.Line("        colourPrimaries: ", vui.colourPrimaries);
    text.Line("        transferCharacteristics: ", vui.transferCharacteristics);
    text.Line("        colourMatrix: ", vui.colourMatrix);
    text.Line("        chromaSampleLocationFlag: ", vui.chromaSampleLocationFlag);
    text.Line("        chromaSampleLocationTop: ", vui.chromaSampleLocationTop);
    text.Line("        chromaSampleLocationBot: ", vui.chromaSampleLocationBot);
    text.Line("        bitstreamRestrictionFlag: ", vui.bitstreamRestrictionFlag);
}

void AddH264(SettingsText& text, const NV_ENC_CONFIG_H264& h264)
{
    text.Heading("NV_ENC_CODEC_CONFIG (H264):");
    text.Line("    enableTemporalSVC: ", h264.enableTemporalSVC);
    text.Line("    enableStereoMVC: ", h264.enableStereoMVC);
    text.Line("    hierarchicalPFrames: ", h264.hierarchicalPFrames);
    text.Line("    hierarchicalBFrames: ", h264.hierarchicalBFrames);
    text.Line("    outputBufferingPeriodSEI: ", h264.outputBufferingPeriodSEI);
    text.Line("    outputPictureTimingSEI: ", h264.outputPictureTimingSEI);
    text.Line("    outputAUD: ", h264.outputAUD);
    text.Line("    disableSPSPPS: ", h264.disableSPSPPS);
    text.Line("    outputFramePackingSEI: ", h264.outputFramePackingSEI);
    text.Line("    outputRecoveryPointSEI: ", h264.outputRecoveryPointSEI);
    text.Line("    enableIntraRefresh: ", h264.enableIntraRefresh);
    text.Line("    enableConstrainedEncoding: ", h264.enableConstrainedEncoding);
    text.Line("    repeatSPSPPS: ", h264.repeatSPSPPS);
    text.Line("    enableVFR: ", h264.enableVFR);
    text.Line("    enableLTR: ", h264.enableLTR);
    text.Line("    qpPrimeYZeroTransformBypassFlag: ", h264.qpPrimeYZeroTransformBypassFlag);
    text.Line("    useConstrainedIntraPred: ", h264.useConstrainedIntraPred);
    text.Line("    level: ", h264.level);
    text.Line("    idrPeriod: ", h264.idrPeriod);
    text.Line("    separateColourPlaneFlag: ", h264.separateColourPlaneFlag);
    text.Line("    disableDeblockingFilterIDC: ", h264.disableDeblockingFilterIDC);
    text.Line("    numTemporalLayers: ", h264.numTemporalLayers);
    text.Line("    enableTemporalSVC: ", h264.enableTemporalSVC);  // once more: meant, the layers belong to it
    text.Line("    spsId: ", h264.spsId);
    text.Line("    ppsId: ", h264.ppsId);
    text.Line("    adaptiveTransformMode: ", h264.adaptiveTransformMode);
    text.Line("    fmoMode: ", h264.fmoMode);
    text.Line("    bdirectMode: ", h264.bdirectMode);
    text.Line("    entropyCodingMode: ", h264.entropyCodingMode);
    text.Line("    stereoMode: ", h264.stereoMode);
    text.Line("    intraRefreshPeriod: ", h264.intraRefreshPeriod);
    text.Line("    intraRefreshCnt: ", h264.intraRefreshCnt);
    text.Line("    maxNumRefFrames: ", h264.maxNumRefFrames);
    text.Line("    sliceMode: ", h264.sliceMode);
    text.Line("    sliceModeData: ", h264.sliceModeData);
    text.Heading("    NV_ENC_CONFIG_H264_VUI_PARAMETERS:");
    AddVui(text, h264.h264VUIParameters);
    text.Line("    ltrNumFrames: ", h264.ltrNumFrames);
    text.Line("    ltrTrustMode: ", h264.ltrTrustMode);
    text.Line("    chromaFormatIDC: ", h264.chromaFormatIDC);
    text.Line("    maxTemporalLayers: ", h264.maxTemporalLayers);
}

void AddHevc(SettingsText& text, const NV_ENC_CONFIG_HEVC& hevc)
{
    text.Heading("NV_ENC_CODEC_CONFIG (HEVC):");
    text.Line("    level: ", hevc.level);
    text.Line("    tier: ", hevc.tier);
    text.Line("    minCUSize: ", hevc.minCUSize);
    text.Line("    maxCUSize: ", hevc.maxCUSize);
    text.Line("    useConstrainedIntraPred: ", hevc.useConstrainedIntraPred);
    text.Line("    disableDeblockAcrossSliceBoundary: ", hevc.disableDeblockAcrossSliceBoundary);
    text.Line("    outputBufferingPeriodSEI: ", hevc.outputBufferingPeriodSEI);
    text.Line("    outputPictureTimingSEI: ", hevc.outputPictureTimingSEI);
    text.Line("    outputAUD: ", hevc.outputAUD);
    text.Line("    enableLTR: ", hevc.enableLTR);
    text.Line("    disableSPSPPS: ", hevc.disableSPSPPS);
    text.Line("    repeatSPSPPS: ", hevc.repeatSPSPPS);
    text.Line("    enableIntraRefresh: ", hevc.enableIntraRefresh);
    text.Line("    chromaFormatIDC: ", hevc.chromaFormatIDC);
    text.Line("    pixelBitDepthMinus8: ", hevc.pixelBitDepthMinus8);
    text.Line("    idrPeriod: ", hevc.idrPeriod);
    text.Line("    intraRefreshPeriod: ", hevc.intraRefreshPeriod);
    text.Line("    intraRefreshCnt: ", hevc.intraRefreshCnt);
    text.Line("    maxNumRefFramesInDPB: ", hevc.maxNumRefFramesInDPB);
    text.Line("    ltrNumFrames: ", hevc.ltrNumFrames);
    text.Line("    vpsId: ", hevc.vpsId);
    text.Line("    spsId: ", hevc.spsId);
    text.Line("    ppsId: ", hevc.ppsId);
    text.Line("    sliceMode: ", hevc.sliceMode);
    text.Line("    sliceModeData: ", hevc.sliceModeData);
    text.Line("    maxTemporalLayersMinus1: ", hevc.maxTemporalLayersMinus1);
    text.Heading("    NV_ENC_CONFIG_HEVC_VUI_PARAMETERS:");
    AddVui(text, hevc.hevcVUIParameters);
    text.Line("    ltrTrustMode: ", hevc.ltrTrustMode);
}
}  // namespace

std::string NvEncoderInitParam::FullParamToString(const NV_ENC_INITIALIZE_PARAMS* pParams) const
{
    const NV_ENC_CONFIG& config = *pParams->encodeConfig;
    SettingsText text;
    text.Heading("NV_ENC_INITIALIZE_PARAMS:");
    text.Line("encodeGUID: ", FindName(szCodecNames, vCodec, pParams->encodeGUID));
    text.Line("presetGUID: ", FindName(szPresetNames, vPreset, pParams->presetGUID));
    text.Line("encodeWidth: ", pParams->encodeWidth);
    text.Line("encodeHeight: ", pParams->encodeHeight);
    text.Line("darWidth: ", pParams->darWidth);
    text.Line("darHeight: ", pParams->darHeight);
    text.Line("frameRateNum: ", pParams->frameRateNum);
    text.Line("frameRateDen: ", pParams->frameRateDen);
    text.Line("enableEncodeAsync: ", pParams->enableEncodeAsync);
    text.Line("reportSliceOffsets: ", pParams->reportSliceOffsets);
    text.Line("enableSubFrameWrite: ", pParams->enableSubFrameWrite);
    text.Line("enableExternalMEHints: ", pParams->enableExternalMEHints);
    text.Line("enableMEOnlyMode: ", pParams->enableMEOnlyMode);
    text.Line("enableWeightedPrediction: ", pParams->enableWeightedPrediction);
    text.Line("maxEncodeWidth: ", pParams->maxEncodeWidth);
    text.Line("maxEncodeHeight: ", pParams->maxEncodeHeight);
    text.Line("maxMEHintCountsPerBlock: ", static_cast<const void*>(pParams->maxMEHintCountsPerBlock));

    text.Heading("NV_ENC_CONFIG:");
    text.Line("profile: ", FindName(szProfileNames, vProfile, config.profileGUID));
    text.Line("gopLength: ", config.gopLength);
    text.Line("frameIntervalP: ", config.frameIntervalP);
    text.Line("monoChromeEncoding: ", config.monoChromeEncoding);
    text.Line("frameFieldMode: ", config.frameFieldMode);
    text.Line("mvPrecision: ", config.mvPrecision);

    const NV_ENC_RC_PARAMS& rc = config.rcParams;
    AddRateControl(text, rc, FindName(szQpMapModeNames, vQpMapMode, static_cast<std::uint32_t>(rc.qpMapMode)));

    if (pParams->encodeGUID == NV_ENC_CODEC_H264_GUID)
    {
        AddH264(text, config.encodeCodecConfig.h264Config);
    }
    else if (pParams->encodeGUID == NV_ENC_CODEC_HEVC_GUID)
    {
        AddHevc(text, config.encodeCodecConfig.hevcConfig);
    }
    return text.GetText();
}
