// An image file's pixels, read by another way than the code under test wrote them.
#pragma once

#include <cstdint>
#include <vector>

struct DecodedImage
{
    std::uint32_t m_uiWidth = 0;
    std::uint32_t m_uiHeight = 0;
    std::vector<unsigned char> m_vBgr;  // tight rows
};

DecodedImage DecodeImage(const std::vector<unsigned char>& bytes);
