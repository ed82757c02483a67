// Encoder settings from a text like "-codec h264 -rc vbr -bitrate 2.5m", and settings as a text.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "abi/nvenc/nvEncodeAPI.h"

class OptionCursor;

// Codec and preset are taken from the text at once, since a session's default settings depend on them; all else waits
// for SetInitParams, which changes those defaults. One thread at a time.
class NvEncoderInitParam
{
public:
    // strOptions: see SetInitParams; read without regard to case. pFuncInit: called last in SetInitParams, with the
    // record; null for nothing. bLowLatency: the preset is the low latency one, whatever the options say. Wrong options
    // are not reported here: an unknown codec or preset leaves H.264 and the default preset.
    explicit NvEncoderInitParam(const std::string& strOptions = "",
                                const std::function<void(NV_ENC_INITIALIZE_PARAMS*)>* pFuncInit = nullptr,
                                bool bLowLatency = false);
    virtual ~NvEncoderInitParam() = default;

    virtual bool IsCodecH264() { return GetEncodeGUID() == NV_ENC_CODEC_H264_GUID; }
    virtual bool IsCodecHEVC() { return GetEncodeGUID() == NV_ENC_CODEC_HEVC_GUID; }
    virtual GUID GetEncodeGUID() { return guidCodec; }
    virtual GUID GetPresetGUID() { return guidPreset; }

    // Applies the options to *pParams and the NV_ENC_CONFIG that its encodeConfig points at, both filled before.
    //
    // An option's value that can't be used is taken for an option itself, as far as those go that stand further down in
    // the list of options: "-rc -lookahead 4" is a look-ahead of 4. Throws std::invalid_argument for a token that is
    // neither, naming it, and for an option whose value is missing, naming the option (codec and preset are the
    // constructor's and pass without one); std::out_of_range for a number that its setting can't hold. The record keeps
    // what earlier options wrote.
    virtual void SetInitParams(NV_ENC_INITIALIZE_PARAMS* pParams, NV_ENC_BUFFER_FORMAT eBufferFormat);

    // Every setting of *pParams and its encodeConfig, one per line. For the diagnostics; holds a nul character when
    // targetQuality is 0.
    std::string FullParamToString(const NV_ENC_INITIALIZE_PARAMS* pParams) const;

private:
    // Tests the token at the cursor against each option. Gives whether one took it.
    bool ApplyOption(OptionCursor& cursor, NV_ENC_INITIALIZE_PARAMS& params);

    // Each gives whether it stored a value. strValue: one token.
    template <typename T, typename TTarget>
    bool ParseString(const std::string& strValue, const std::string& strNames, const std::vector<T>& vValues,
                     TTarget& target) const;
    template <typename T>
    bool ParseInt(const std::string& strValue, T& target) const;
    bool ParseBitRate(const std::string& strValue, std::uint32_t& uiTarget) const;
    bool ParseQp(const std::string& strValue, NV_ENC_QP& target) const;

protected:
    std::string strParam;  // the options, in lower case
    std::function<void(NV_ENC_INITIALIZE_PARAMS*)> funcInit = [](NV_ENC_INITIALIZE_PARAMS*) {};
    std::vector<std::string> tokens;  // strParam cut at white space
    GUID guidCodec = NV_ENC_CODEC_H264_GUID;
    GUID guidPreset = NV_ENC_PRESET_DEFAULT_GUID;
    bool bLowLatency;

    // Names, one blank between two, and the value that each stands for.
    std::string szCodecNames = "h264 hevc";
    std::vector<GUID> vCodec = {NV_ENC_CODEC_H264_GUID, NV_ENC_CODEC_HEVC_GUID};
    std::string szChromaNames = "yuv420 yuv444";  // no option reads it
    std::vector<std::uint32_t> vChroma = {1, 3};
    std::string szPresetNames = "default hp hq bd ll ll_hp ll_hq lossless lossless_hp";
    std::string szLowLatencyPresetNames = "ll ll_hp ll_hq";
    std::vector<GUID> vPreset = {NV_ENC_PRESET_DEFAULT_GUID,
                                 NV_ENC_PRESET_HP_GUID,
                                 NV_ENC_PRESET_HQ_GUID,
                                 NV_ENC_PRESET_BD_GUID,
                                 NV_ENC_PRESET_LOW_LATENCY_DEFAULT_GUID,
                                 NV_ENC_PRESET_LOW_LATENCY_HP_GUID,
                                 NV_ENC_PRESET_LOW_LATENCY_HQ_GUID,
                                 NV_ENC_PRESET_LOSSLESS_DEFAULT_GUID,
                                 NV_ENC_PRESET_LOSSLESS_HP_GUID};
    std::vector<GUID> vLowLatencyPreset = {NV_ENC_PRESET_LOW_LATENCY_DEFAULT_GUID, NV_ENC_PRESET_LOW_LATENCY_HP_GUID,
                                           NV_ENC_PRESET_LOW_LATENCY_HQ_GUID};
    std::string szH264ProfileNames = "baseline main high high444";
    std::vector<GUID> vH264Profile = {NV_ENC_H264_PROFILE_BASELINE_GUID, NV_ENC_H264_PROFILE_MAIN_GUID,
                                      NV_ENC_H264_PROFILE_HIGH_GUID, NV_ENC_H264_PROFILE_HIGH_444_GUID};
    std::string szHevcProfileNames = "main main10 frext";
    std::vector<GUID> vHevcProfile = {NV_ENC_HEVC_PROFILE_MAIN_GUID, NV_ENC_HEVC_PROFILE_MAIN10_GUID,
                                      NV_ENC_HEVC_PROFILE_FREXT_GUID};
    std::string szProfileNames = "(default) auto baseline(h264) main(h264) high(h264) high444(h264) stereo(h264) "
                                 "svc_temporal_scalability(h264) progressiv_high(h264) constrained_high(h264) "
                                 "main(hevc) main10(hevc) frext(hevc)";  // for the text of the settings only
    std::vector<GUID> vProfile = {GUID{},
                                  NV_ENC_CODEC_PROFILE_AUTOSELECT_GUID,
                                  NV_ENC_H264_PROFILE_BASELINE_GUID,
                                  NV_ENC_H264_PROFILE_MAIN_GUID,
                                  NV_ENC_H264_PROFILE_HIGH_GUID,
                                  NV_ENC_H264_PROFILE_HIGH_444_GUID,
                                  NV_ENC_H264_PROFILE_STEREO_GUID,
                                  NV_ENC_H264_PROFILE_SVC_TEMPORAL_SCALABILTY,
                                  NV_ENC_H264_PROFILE_PROGRESSIVE_HIGH_GUID,
                                  NV_ENC_H264_PROFILE_CONSTRAINED_HIGH_GUID,
                                  NV_ENC_HEVC_PROFILE_MAIN_GUID,
                                  NV_ENC_HEVC_PROFILE_MAIN10_GUID,
                                  NV_ENC_HEVC_PROFILE_FREXT_GUID};
    std::string szRcModeNames = "constqp vbr cbr cbr_ll_hq cbr_hq vbr_hq";
    std::vector<std::uint32_t> vRcMode = {NV_ENC_PARAMS_RC_CONSTQP, NV_ENC_PARAMS_RC_VBR,
                                          NV_ENC_PARAMS_RC_CBR,     NV_ENC_PARAMS_RC_CBR_LOWDELAY_HQ,
                                          NV_ENC_PARAMS_RC_CBR_HQ,  NV_ENC_PARAMS_RC_VBR_HQ};
    std::string szQpMapModeNames = "disabled emphasis_level_map delta_qp_map qp_map";  // likewise
    std::vector<std::uint32_t> vQpMapMode = {NV_ENC_QP_MAP_DISABLED, NV_ENC_QP_MAP_EMPHASIS, NV_ENC_QP_MAP_DELTA,
                                             NV_ENC_QP_MAP};
};
