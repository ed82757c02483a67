#include "runtimes/common/x264_nal.h"

#include <algorithm>
#include <iterator>

namespace runtimes
{

void AppendNal(std::vector<std::uint8_t>& bytes, const x264_nal_t& nal)
{
    constexpr std::uint8_t startCode[] = {0, 0, 0, 1};
    const int nStartCode = nal.b_long_startcode ? 4 : 3;
    bytes.insert(bytes.end(), std::begin(startCode), std::end(startCode));
    bytes.insert(bytes.end(), nal.p_payload + nStartCode, nal.p_payload + nal.i_payload);
}

bool IsSignature(const x264_nal_t& nal)
{
    // Message type 5, unregistered user data, and the identifier that x264 gives its own.
    constexpr std::uint8_t identifier[] = {0xDC, 0x45, 0xE9, 0xBD, 0xE6, 0xD9, 0x48, 0xB7,
                                           0x96, 0x2C, 0xD8, 0x20, 0xD9, 0x23, 0xEE, 0xEF};
    if (nal.i_type != NAL_SEI)
    {
        return false;
    }
    // Header byte and type, then the size in bytes of 255 and a last one below, then the identifier.
    const std::uint8_t* p = nal.p_payload + (nal.b_long_startcode ? 4 : 3) + 1;
    const std::uint8_t* const pEnd = nal.p_payload + nal.i_payload;
    if (p >= pEnd || *p++ != 5)
    {
        return false;
    }
    p = std::find_if(p, pEnd, [](std::uint8_t byte) { return byte != 255; });
    if (pEnd - p < 1 + static_cast<std::ptrdiff_t>(std::size(identifier)))
    {
        return false;
    }
    return std::equal(std::begin(identifier), std::end(identifier), p + 1);
}

}  // namespace runtimes
