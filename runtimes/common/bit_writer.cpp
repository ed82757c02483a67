#include "runtimes/common/bit_writer.h"

#include <algorithm>
#include <iterator>

namespace runtimes
{

void AppendNalUnit(std::vector<std::uint8_t>& stream, std::uint8_t uiHeader, std::span<const std::uint8_t> payload)
{
    const std::uint8_t begin[] = {0, 0, 0, 1, uiHeader};
    const std::size_t uiBegin = stream.size();
    // At most one byte more for every two.
    stream.resize(uiBegin + std::size(begin) + payload.size() + payload.size() / 2);
    auto out = std::copy(std::begin(begin), std::end(begin), stream.begin() + static_cast<std::ptrdiff_t>(uiBegin));
    int nZeros = 0;
    for (const std::uint8_t byte : payload)
    {
        if (nZeros == 2 && byte <= 3)
        {
            *out++ = 3;
            nZeros = 0;
        }
        *out++ = byte;
        nZeros = byte == 0 ? nZeros + 1 : 0;
    }
    stream.erase(out, stream.end());
}

}  // namespace runtimes
