#include "runtimes/amf/encoder_settings.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "runtimes/amf/script.h"

namespace amfruntime
{
namespace
{

using namespace AmfEncoderProperty;

constexpr std::int64_t c_nMostPictureSide = 4096;
constexpr std::int64_t c_nMostBitRate = 1000000000;
constexpr std::int64_t c_nMostB = 3;
constexpr std::int64_t c_nMostQp = 51;

PropertyValue None()
{
    return {};
}

// x264 counts in thousands of bits and takes 0 for no rate at all.
std::uint32_t Kilobits(std::int64_t nBits)
{
    return static_cast<std::uint32_t>(std::max<std::int64_t>(nBits / 1000, 1));
}

const char* PresetName(const PropertyMap& properties)
{
    switch (FindNumber(properties, QualityPreset).value_or(AMF_VIDEO_ENCODER_QUALITY_PRESET_BALANCED))
    {
    case AMF_VIDEO_ENCODER_QUALITY_PRESET_SPEED:
        return "superfast";
    case AMF_VIDEO_ENCODER_QUALITY_PRESET_QUALITY:
        return "faster";
    default:
        return "veryfast";
    }
}

const char* ProfileName(const PropertyMap& properties)
{
    switch (FindNumber(properties, Profile).value_or(AMF_VIDEO_ENCODER_PROFILE_MAIN))
    {
    case AMF_VIDEO_ENCODER_PROFILE_BASELINE:
        return "baseline";
    case AMF_VIDEO_ENCODER_PROFILE_MAIN:
        return "main";
    case AMF_VIDEO_ENCODER_PROFILE_HIGH:
        return "high";
    default:
        throw InitError(AMF_NOT_SUPPORTED);
    }
}

void SetTiming(runtimes::X264Options& options, const runtimes::StreamSettings& stream)
{
    options.SetRatio("fps", stream.uiFrameRateNum, stream.uiFrameRateDen);
    // The header's clock is the frame rate, whatever times the client keeps elsewhere.
    options.Set("force-cfr", 1);
    if (stream.display.ui64SampleWidth != 0)
    {
        options.SetRatio("sar", stream.display.ui64SampleWidth, stream.display.ui64SampleHeight);
    }
}

// The client's pictures decide where a group begins, so x264 does not. It looks at no picture ahead: but for B
// pictures, the buffer of a picture comes without another picture after it.
void SetGroupOfPictures(runtimes::X264Options& options, std::uint32_t uiB)
{
    options.Set("keyint", "infinite");
    options.Set("open-gop", 0u);
    options.Set("scenecut", 0u);
    options.Set("bframes", uiB);
    options.Set("b-adapt", 0u);
    options.Set("b-pyramid", "none");
    options.Set("rc-lookahead", 0u);
    options.Set("mbtree", 0u);
    options.Set("weightp", 0u);
}

void SetRateControl(runtimes::X264Options& options, const PropertyMap& properties)
{
    const std::int64_t nMethod =
        FindNumber(properties, RateControlMethod).value_or(AMF_VIDEO_ENCODER_RATE_CONTROL_METHOD_PEAK_CONSTRAINED_VBR);
    if (nMethod == AMF_VIDEO_ENCODER_RATE_CONTROL_METHOD_CONSTANT_QP)
    {
        // 0 would switch x264 to lossless coding, which is another profile.
        const auto nP = std::max<std::int64_t>(FindNumber(properties, QPP).value_or(22), 1);
        const auto nI = FindNumber(properties, QPI).value_or(22);
        const auto nB = FindNumber(properties, QPB).value_or(22);
        // x264 takes the distances as factors, of which six steps of the quantiser double one.
        options.Set("qp", static_cast<std::uint32_t>(nP));
        options.SetReal("ipratio", std::exp2(static_cast<double>(nP - nI) / 6));
        options.SetReal("pbratio", std::exp2(static_cast<double>(nB - nP) / 6));
    }
    else
    {
        const std::int64_t nTarget = FindNumber(properties, TargetBitrate).value_or(0);
        const bool bConstant = nMethod == AMF_VIDEO_ENCODER_RATE_CONTROL_METHOD_CBR;
        const std::int64_t nPeak = bConstant ? 0 : FindNumber(properties, PeakBitrate).value_or(0);
        options.Set("bitrate", Kilobits(nTarget));
        options.Set("vbv-maxrate", Kilobits(std::max(nTarget, nPeak)));
        options.Set("vbv-bufsize", Kilobits(FindNumber(properties, VBVBufferSize).value_or(nTarget)));
        if (const auto nFullness = FindNumber(properties, InitialVBVBufferFullness))
        {
            options.SetReal("vbv-init", static_cast<double>(*nFullness) / 64);
        }
    }
    if (const auto nMin = FindNumber(properties, MinQP))
    {
        options.Set("qpmin", static_cast<std::uint32_t>(*nMin));
    }
    if (const auto nMax = FindNumber(properties, MaxQP))
    {
        options.Set("qpmax", static_cast<std::uint32_t>(*nMax));
    }
    options.Set("aq-mode", IsSet(properties, EnableVBAQ) ? 1u : 0u);
    options.Set("psy", 0u);
}

void SetTools(runtimes::X264Options& options, const PropertyMap& properties)
{
    if (const auto nLevel = FindNumber(properties, ProfileLevel))
    {
        options.Set("level", static_cast<std::uint32_t>(*nLevel));
    }
    if (const auto nReferences = FindNumber(properties, MaxNumRefFrames))
    {
        options.Set("ref", static_cast<std::uint32_t>(*nReferences));
    }
    options.Set("no-deblock", IsSet(properties, DeBlockingFilter) ? 0u : 1u);
    options.Set("slices", static_cast<std::uint32_t>(FindNumber(properties, SlicesPerFrame).value_or(1)));
    options.Set("aud", 1);
}

runtimes::StreamSettings MakeStreamSettings(const PropertyMap& properties, amf_int32 nWidth, amf_int32 nHeight)
{
    const AMFRate rate = properties.at(FrameRate).Get().rateValue;
    if (rate.num == 0 || rate.den == 0)
    {
        throw InitError(AMF_INVALID_ARG);
    }
    runtimes::StreamSettings stream;
    stream.uiWidth = static_cast<std::uint32_t>(nWidth);
    stream.uiHeight = static_cast<std::uint32_t>(nHeight);
    stream.uiFrameRateNum = rate.num;
    stream.uiFrameRateDen = rate.den;
    stream.uiLevel = static_cast<std::uint32_t>(FindNumber(properties, ProfileLevel).value_or(0));
    stream.bDelimiters = true;
    const AMFRatio aspect = properties.at(AspectRatio).Get().ratioValue;
    if (aspect.num != aspect.den && aspect.num != 0 && aspect.den != 0)
    {
        stream.display.ui64SampleWidth = aspect.num;
        stream.display.ui64SampleHeight = aspect.den;
    }
    return stream;
}

}  // namespace

std::span<const KnownProperty> EncoderProperties()
{
    constexpr std::int64_t c_nMost = std::numeric_limits<std::int32_t>::max();
    const auto number = [](std::int64_t n) { return PropertyValue::Of(n); };
    const auto flag = [](bool b) { return PropertyValue::Of(b); };
    static const KnownProperty s_known[] = {
        {FrameSize, PropertyValue::Of(AMFSize{0, 0}), AMF_VARIANT_SIZE},
        {FrameRate, PropertyValue::Of(AMFRate{30, 1}), AMF_VARIANT_RATE},
        {ExtraData, None(), AMF_VARIANT_INTERFACE, 0, 0, true},
        {Usage, number(AMF_VIDEO_ENCODER_USAGE_TRANSCONDING), AMF_VARIANT_INT64, 0, AMF_VIDEO_ENCODER_USAGE_WEBCAM},
        {Profile, number(AMF_VIDEO_ENCODER_PROFILE_MAIN), AMF_VARIANT_INT64, AMF_VIDEO_ENCODER_PROFILE_BASELINE,
         AMF_VIDEO_ENCODER_PROFILE_HIGH},
        {ProfileLevel, None(), AMF_VARIANT_INT64, 10, 52},
        {MaxOfLTRFrames, number(0), AMF_VARIANT_INT64, 0, 0},
        {ScanType, number(AMF_VIDEO_ENCODER_SCANTYPE_PROGRESSIVE), AMF_VARIANT_INT64, 0, 0},
        {QualityPreset, number(AMF_VIDEO_ENCODER_QUALITY_PRESET_BALANCED), AMF_VARIANT_INT64, 0,
         AMF_VIDEO_ENCODER_QUALITY_PRESET_QUALITY},
        {BPicturesDeltaQP, None(), AMF_VARIANT_INT64, -10, 10},
        {ReferenceBPicturesDeltaQP, None(), AMF_VARIANT_INT64, -10, 10},
        {EnforceHRD, flag(false), AMF_VARIANT_BOOL},
        {FillerDataEnable, flag(false), AMF_VARIANT_BOOL},
        {VBVBufferSize, None(), AMF_VARIANT_INT64, 1000, c_nMostBitRate},
        {InitialVBVBufferFullness, None(), AMF_VARIANT_INT64, 0, 64},
        {MaxAUSize, number(0), AMF_VARIANT_INT64, 0, c_nMost},
        {MinQP, None(), AMF_VARIANT_INT64, 0, c_nMostQp},
        {MaxQP, None(), AMF_VARIANT_INT64, 0, c_nMostQp},
        {QPI, number(22), AMF_VARIANT_INT64, 0, c_nMostQp},
        {QPP, number(22), AMF_VARIANT_INT64, 0, c_nMostQp},
        {QPB, number(22), AMF_VARIANT_INT64, 0, c_nMostQp},
        {TargetBitrate, number(20000000), AMF_VARIANT_INT64, 1, c_nMostBitRate},
        {PeakBitrate, None(), AMF_VARIANT_INT64, 1, c_nMostBitRate},
        {RateControlSkipFrameEnable, flag(false), AMF_VARIANT_BOOL},
        {RateControlMethod, number(AMF_VIDEO_ENCODER_RATE_CONTROL_METHOD_PEAK_CONSTRAINED_VBR), AMF_VARIANT_INT64, 0,
         AMF_VIDEO_ENCODER_RATE_CONTROL_METHOD_LATENCY_CONSTRAINED_VBR},
        {HeaderInsertionSpacing, number(0), AMF_VARIANT_INT64, 0, 1000},
        {BPicturesPattern, number(0), AMF_VARIANT_INT64, 0, c_nMostB},
        {DeBlockingFilter, flag(true), AMF_VARIANT_BOOL},
        {BReferenceEnable, flag(false), AMF_VARIANT_BOOL},
        {IDRPeriod, number(60), AMF_VARIANT_INT64, 0, c_nMost},
        {IntraRefreshMBsNumberPerSlot, number(0), AMF_VARIANT_INT64, 0, 0},
        {SlicesPerFrame, number(1), AMF_VARIANT_INT64, 1, 32},
        {HalfPixel, flag(true), AMF_VARIANT_BOOL},
        {QuarterPixel, flag(true), AMF_VARIANT_BOOL},
        {NumOfTemporalEnhancmentLayers, number(0), AMF_VARIANT_INT64, 0, 0},
        {EncoderMaxInstances, number(1), AMF_VARIANT_INT64, 1, 1},
        {MultiInstanceMode, flag(false), AMF_VARIANT_BOOL},
        {MultiInstanceCurrentQueue, number(0), AMF_VARIANT_INT64, 0, 0},
        {MaxNumRefFrames, None(), AMF_VARIANT_INT64, 1, 16},
        {AspectRatio, PropertyValue::Of(AMFRatio{1, 1}), AMF_VARIANT_RATIO},
        {EnableVBAQ, flag(false), AMF_VARIANT_BOOL},
    };
    return s_known;
}

EncoderSettings MakeEncoderSettings(const PropertyMap& properties, amf_int32 nWidth, amf_int32 nHeight)
{
    const bool bEven = ((nWidth | nHeight) & 1) == 0;
    if (!bEven || nWidth <= 0 || nHeight <= 0 || nWidth > c_nMostPictureSide || nHeight > c_nMostPictureSide)
    {
        throw InitError(AMF_INVALID_RESOLUTION);
    }
    EncoderSettings settings;
    settings.encoder.ePart = Script::Get().Encoder();
    runtimes::X264Settings& x264 = settings.encoder.x264;
    x264.profile = ProfileName(properties);
    // Baseline has no B pictures.
    const auto uiB = static_cast<std::uint32_t>(FindNumber(properties, BPicturesPattern).value_or(0));
    settings.bWithB = uiB != 0 && x264.profile != "baseline";
    settings.uiIdrPeriod = static_cast<std::uint32_t>(FindNumber(properties, IDRPeriod).value_or(0));
    settings.encoder.stream = MakeStreamSettings(properties, nWidth, nHeight);

    runtimes::X264Options options;
    options.SetOneThread();
    SetTiming(options, settings.encoder.stream);
    SetGroupOfPictures(options, settings.bWithB ? uiB : 0);
    SetRateControl(options, properties);
    SetTools(options, properties);
    x264.preset = PresetName(properties);
    x264.options = options.Take();
    return settings;
}

}  // namespace amfruntime
