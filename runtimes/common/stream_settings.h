// What a stream says of itself, whichever encoder makes it.
#pragma once

#include <cstdint>
#include <optional>

#include "runtimes/common/packet.h"

namespace runtimes
{

// Before which pictures parameter sets stand, apart from those whose caller asks for them.
struct HeaderRule
{
    bool bFirst = true;  // before the first IDR picture
    bool bAgain = true;  // and before every other

    bool AreDue(PictureKind eKind, bool bFirstPacket, const PictureInfo& info) const
    {
        return info.bWithHeaders || (eKind == PictureKind::Idr && (bFirstPacket ? bFirst : bAgain));
    }
};

// How the pictures are to be shown: code numbers of H.264, Annex E. What isn't set isn't stated.
struct DisplaySettings
{
    struct Signal
    {
        std::uint8_t uiFormat;
        bool bFullRange;
    };
    struct Colours
    {
        std::uint8_t uiPrimaries;
        std::uint8_t uiTransfer;
        std::uint8_t uiMatrix;
    };

    std::uint64_t ui64SampleWidth = 0;  // of one sample's shape; 0 if it isn't stated
    std::uint64_t ui64SampleHeight = 0;
    std::optional<bool> isOverscanCropped;
    std::optional<Signal> signal;
    std::optional<Colours> colours;
    std::optional<std::uint32_t> chromaLocation;
};

struct StreamSettings
{
    std::uint32_t uiWidth = 0;  // pixels, even
    std::uint32_t uiHeight = 0;
    std::uint32_t uiFrameRateNum = 30;  // pictures in uiFrameRateDen seconds
    std::uint32_t uiFrameRateDen = 1;
    std::uint32_t uiLevel = 0;           // ten times the level's number, 9 for 1b; 0 for the lowest that fits
    std::uint32_t uiParameterSetId = 0;  // of SPS and PPS
    bool bDelimiters = false;
    HeaderRule headers;
    DisplaySettings display;
};

}  // namespace runtimes
