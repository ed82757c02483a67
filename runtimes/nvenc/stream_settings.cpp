#include "runtimes/nvenc/stream_settings.h"

namespace nvencruntime
{
namespace
{

runtimes::DisplaySettings MakeDisplaySettings(const EncodeSettings& settings)
{
    const NV_ENC_INITIALIZE_PARAMS& params = settings.params;
    const NV_ENC_CONFIG_H264_VUI_PARAMETERS& vui = settings.H264().h264VUIParameters;
    runtimes::DisplaySettings display;
    const std::uint64_t ui64Wide = std::uint64_t{params.darWidth} * params.encodeHeight;
    const std::uint64_t ui64High = std::uint64_t{params.darHeight} * params.encodeWidth;
    if (ui64Wide != ui64High)
    {
        display.ui64SampleWidth = ui64Wide;
        display.ui64SampleHeight = ui64High;
    }
    if (vui.overscanInfoPresentFlag)
    {
        display.isOverscanCropped = vui.overscanInfo != 0;
    }
    if (vui.videoSignalTypePresentFlag)
    {
        display.signal = {static_cast<std::uint8_t>(vui.videoFormat), vui.videoFullRangeFlag != 0};
    }
    if (vui.colourDescriptionPresentFlag)
    {
        display.colours = {static_cast<std::uint8_t>(vui.colourPrimaries),
                           static_cast<std::uint8_t>(vui.transferCharacteristics),
                           static_cast<std::uint8_t>(vui.colourMatrix)};
    }
    if (vui.chromaSampleLocationFlag)
    {
        display.chromaLocation = vui.chromaSampleLocationTop;
    }
    return display;
}

}  // namespace

runtimes::StreamSettings MakeStreamSettings(const EncodeSettings& settings)
{
    const NV_ENC_CONFIG_H264& h264 = settings.H264();
    runtimes::StreamSettings stream;
    stream.uiWidth = settings.params.encodeWidth;
    stream.uiHeight = settings.params.encodeHeight;
    stream.uiFrameRateNum = settings.params.frameRateNum;
    stream.uiFrameRateDen = settings.params.frameRateDen;
    stream.uiLevel = h264.level == NV_ENC_LEVEL_AUTOSELECT ? 0 : h264.level;
    stream.uiParameterSetId = h264.spsId;
    stream.bDelimiters = h264.outputAUD != 0;
    stream.headers.bFirst = !h264.disableSPSPPS;
    stream.headers.bAgain = stream.headers.bFirst && h264.repeatSPSPPS;
    stream.display = MakeDisplaySettings(settings);
    return stream;
}

}  // namespace nvencruntime
