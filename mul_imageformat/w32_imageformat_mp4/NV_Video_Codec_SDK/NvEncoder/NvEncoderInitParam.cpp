#include "NV_Video_Codec_SDK/NvEncoder/NvEncoderInitParam.h"

#include <algorithm>
#include <limits>
#include <sstream>
#include <stdexcept>

#include "NV_Video_Codec_SDK/NvEncoder/OptionCursor.h"
#include "NV_Video_Codec_SDK/NvEncoder/OptionText.h"

template <typename T, typename TTarget>
bool NvEncoderInitParam::ParseString(const std::string& strValue, const std::string& strNames,
                                     const std::vector<T>& vValues, TTarget& target) const
{
    const std::vector<std::string> vNames = SplitText(strNames, ' ');
    const auto it = std::find(vNames.begin(), vNames.end(), strValue);
    if (it == vNames.end()) return false;
    target = static_cast<TTarget>(vValues[static_cast<std::size_t>(it - vNames.begin())]);
    return true;
}

// The number is cut to the width of its setting, not checked against it.
template <typename T>
bool NvEncoderInitParam::ParseInt(const std::string& strValue, T& target) const
{
    const auto nNumber = ReadInt(strValue);
    if (nNumber) target = static_cast<T>(*nNumber);
    return nNumber.has_value();
}

bool NvEncoderInitParam::ParseBitRate(const std::string& strValue, std::uint32_t& uiTarget) const
{
    char cUnit = 0;
    const auto dNumber = ReadDouble(strValue, &cUnit);
    if (!dNumber) return false;
    const double dBitRate = *dNumber * (cUnit == 'm' ? 1000000.0 : cUnit == 'k' ? 1000.0 : 1.0);
    // Written so that what isn't a number is refused too.
    if (!(dBitRate > -1.0 && dBitRate < 4294967296.0)) throw std::out_of_range("stod argument out of range");
    uiTarget = static_cast<std::uint32_t>(dBitRate);
    return true;
}

bool NvEncoderInitParam::ParseQp(const std::string& strValue, NV_ENC_QP& target) const
{
    const std::vector<std::string> vParts = SplitText(strValue, ',');
    if (vParts.size() != 1 && vParts.size() != 3) return false;
    NV_ENC_QP parsed = {};
    const bool bParsed = ParseInt(vParts.front(), parsed.qpInterP) &&
                         ParseInt(vParts.size() == 3 ? vParts[1] : vParts.front(), parsed.qpInterB) &&
                         ParseInt(vParts.back(), parsed.qpIntra);
    if (bParsed) target = parsed;
    return bParsed;
}

NvEncoderInitParam::NvEncoderInitParam(const std::string& strOptions,
                                       const std::function<void(NV_ENC_INITIALIZE_PARAMS*)>* pFuncInit,
                                       bool bLowLatencyOnly)
    : strParam(ToLowerAscii(strOptions)), bLowLatency(bLowLatencyOnly)
{
    if (pFuncInit && *pFuncInit) funcInit = *pFuncInit;

    std::istringstream stream(strParam);
    for (std::string strToken; stream >> strToken;)
        tokens.push_back(strToken);

    for (std::size_t i = 0; i < tokens.size(); ++i)
    {
        const bool bCodec = tokens[i] == "-codec";
        if (!bCodec && tokens[i] != "-preset") continue;
        if (++i == tokens.size()) break;
        if (bCodec)
        {
            ParseString(tokens[i], szCodecNames, vCodec, guidCodec);
        }
        else if (bLowLatency)
        {
            ParseString(tokens[i], szLowLatencyPresetNames, vLowLatencyPreset, guidPreset);
        }
        else
        {
            ParseString(tokens[i], szPresetNames, vPreset, guidPreset);
        }
    }
    // Whatever was asked for: low latency has one preset only.
    if (bLowLatency) guidPreset = NV_ENC_PRESET_LOW_LATENCY_DEFAULT_GUID;
}

void NvEncoderInitParam::SetInitParams(NV_ENC_INITIALIZE_PARAMS* pParams, NV_ENC_BUFFER_FORMAT eBufferFormat)
{
    for (OptionCursor cursor(tokens); !cursor.IsAtEnd(); cursor.Advance())
    {
        if (!ApplyOption(cursor, *pParams))
        {
            throw std::invalid_argument("Incorrect parameter: " + cursor.GetTokenToBlame() +
                                        "\nRe-run the application with the -h option to get a list of the supported "
                                        "options.\n");
        }
    }
    const bool b10Bit =
        eBufferFormat == NV_ENC_BUFFER_FORMAT_YUV420_10BIT || eBufferFormat == NV_ENC_BUFFER_FORMAT_YUV444_10BIT;
    if (IsCodecHEVC() && b10Bit) pParams->encodeConfig->encodeCodecConfig.hevcConfig.pixelBitDepthMinus8 = 2;
    funcInit(pParams);
}

// One test after the other. A value of no use leaves the cursor on it, so that the tests further down read the value as
// an option.
bool NvEncoderInitParam::ApplyOption(OptionCursor& cursor, NV_ENC_INITIALIZE_PARAMS& params)
{
    NV_ENC_CONFIG& config = *params.encodeConfig;
    NV_ENC_RC_PARAMS& rc = config.rcParams;
    NV_ENC_CONFIG_H264& h264 = config.encodeCodecConfig.h264Config;
    NV_ENC_CONFIG_HEVC& hevc = config.encodeCodecConfig.hevcConfig;

    const auto takesInt = [&](const char* pszOption, auto& target) {
        return cursor.Takes(pszOption, [&](const std::string& strValue) { return ParseInt(strValue, target); });
    };
    const auto takesBitRate = [&](const char* pszOption, std::uint32_t& uiTarget) {
        return cursor.Takes(pszOption, [&](const std::string& strValue) { return ParseBitRate(strValue, uiTarget); });
    };
    const auto takesQp = [&](const char* pszOption, NV_ENC_QP& target) {
        return cursor.Takes(pszOption, [&](const std::string& strValue) { return ParseQp(strValue, target); });
    };

    if (cursor.Skips("-codec") || cursor.Skips("-preset")) return true;  // the constructor has read them

    if (cursor.Takes("-profile", [&](const std::string& strValue) {
            return IsCodecH264() ? ParseString(strValue, szH264ProfileNames, vH264Profile, config.profileGUID)
                                 : ParseString(strValue, szHevcProfileNames, vHevcProfile, config.profileGUID);
        }))
    {
        return true;
    }
    if (cursor.Takes("-rc", [&](const std::string& strValue) {
            return ParseString(strValue, szRcModeNames, vRcMode, rc.rateControlMode);
        }))
    {
        return true;
    }
    if (takesInt("-fps", params.frameRateNum)) return true;

    // B pictures between two references make one more than that from reference to reference. No distance at all is
    // stored but matches nothing; one that doesn't fit isn't stored either.
    std::int32_t nBPictures = 0;
    if (takesInt("-bf", nBPictures) && nBPictures != std::numeric_limits<std::int32_t>::max())
    {
        config.frameIntervalP = nBPictures + 1;
        if (config.frameIntervalP != 0) return true;
    }

    if (takesBitRate("-bitrate", rc.averageBitRate)) return true;
    if (takesBitRate("-maxbitrate", rc.maxBitRate)) return true;
    if (takesBitRate("-vbvbufsize", rc.vbvBufferSize)) return true;
    if (takesBitRate("-vbvinit", rc.vbvInitialDelay)) return true;
    if (takesInt("-cq", rc.targetQuality)) return true;
    if (takesQp("-initqp", rc.initialRCQP))
    {
        rc.enableInitialRCQP = 1;
        return true;
    }
    if (takesQp("-qmin", rc.minQP))
    {
        rc.enableMinQP = 1;
        return true;
    }
    if (takesQp("-qmax", rc.maxQP))
    {
        rc.enableMaxQP = 1;
        return true;
    }
    if (takesQp("-constqp", rc.constQP)) return true;
    if (cursor.Is("-temporalaq"))
    {
        rc.enableTemporalAQ = 1;
        return true;
    }
    if (takesInt("-lookahead", rc.lookaheadDepth))
    {
        rc.enableLookahead = rc.lookaheadDepth > 0;
        return true;
    }
    std::uint32_t uiStrength = 0;
    if (takesInt("-aq", uiStrength))
    {
        rc.enableAQ = 1;
        rc.aqStrength = uiStrength & 15;
        return true;
    }
    if (takesInt("-gop", config.gopLength))
    {
        (IsCodecH264() ? h264.idrPeriod : hevc.idrPeriod) = config.gopLength;
        return true;
    }
    if (cursor.Is("-444"))
    {
        if (IsCodecH264())
        {
            h264.chromaFormatIDC = 3;
        }
        else
        {
            hevc.chromaFormatIDC = 3;
        }
        return true;
    }
    return false;
}
