// Attributes of pictures as a host fills them in.
#pragma once

#include <cstdint>

#include "hostapi/hostcore.h"

namespace test_support
{

// Of 24-bit pictures: three components of eight bits.
inline SQmImageAttributes PictureAttributes(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    SQmImageAttributes attributes;
    attributes.m_uiWidth = uiWidth;
    attributes.m_uiHeight = uiHeight;
    attributes.m_uiComponents = 3;
    attributes.m_uiBitsInMemory = 8;
    attributes.m_uiBitsSignificant = 8;
    return attributes;
}

}  // namespace test_support
