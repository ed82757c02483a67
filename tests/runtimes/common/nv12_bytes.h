// An NV12 picture as bytes without gaps, as ffmpeg has it.
#pragma once

#include "runtimes/common/colour.h"
#include "support/bytes.h"

struct Nv12Bytes
{
    Nv12Bytes(std::uint32_t uiTheWidth, std::uint32_t uiTheHeight)
        : uiWidth(uiTheWidth), uiHeight(uiTheHeight), bytes(std::size_t{uiTheWidth} * uiTheHeight * 3 / 2)
    {}

    runtimes::Nv12View View()
    {
        return {bytes.data(), bytes.data() + std::size_t{uiWidth} * uiHeight, uiWidth, uiWidth};
    }

    std::uint32_t uiWidth;
    std::uint32_t uiHeight;
    Bytes bytes;
};
