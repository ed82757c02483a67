#include "mp4_outputfile/muxer/startcodes.h"

#include <cstring>

void NormalizeStartCodes(std::span<const std::uint8_t> packet, std::vector<std::uint8_t>& out,
                         std::vector<std::size_t>& nalOffsets)
{
    static constexpr std::uint8_t s_abStartCode[4] = {0, 0, 0, 1};
    out.clear();
    nalOffsets.clear();
    if (packet.empty()) return;
    out.reserve(packet.size() * 2 + 64);

    // A start code ends with a 1 after two zeros. Ones are rare in encoded data, and memchr passes what lies between
    // them faster than a loop over single bytes.
    const std::uint8_t* const pBegin = packet.data();
    const std::uint8_t* const pEnd = pBegin + packet.size();
    const std::uint8_t* pCopied = pBegin;  // what lies before it is in out
    const std::uint8_t* pSearch = pBegin;
    while (const void* pFound = std::memchr(pSearch, 1, static_cast<std::size_t>(pEnd - pSearch)))
    {
        const std::uint8_t* const pOne = static_cast<const std::uint8_t*>(pFound);
        pSearch = pOne + 1;
        if (pOne - pBegin < 2 || pOne[-1] != 0 || pOne[-2] != 0) continue;

        const bool bAtBegin = pOne - pBegin == 2;
        if (pSearch == pEnd && !bAtBegin) break;  // nothing follows it
        const bool bFourBytes = !bAtBegin && pOne[-3] == 0;
        out.insert(out.end(), pCopied, pOne - (bFourBytes ? 3 : 2));
        nalOffsets.push_back(out.size());
        out.insert(out.end(), s_abStartCode, s_abStartCode + sizeof s_abStartCode);
        pCopied = pSearch;
    }
    out.insert(out.end(), pCopied, pEnd);
}

// Ones are rare in encoded data, so they are looked for first.
std::vector<std::size_t> FindStartCodes(std::span<const std::uint8_t> packet)
{
    std::vector<std::size_t> offsets;
    if (packet.size() <= 6) return offsets;
    const std::uint8_t* const pBegin = packet.data();
    const std::uint8_t* const pEnd = pBegin + packet.size() - 3;
    const std::uint8_t* pSearch = pBegin + 3;
    while (const void* pFound = std::memchr(pSearch, 1, static_cast<std::size_t>(pEnd - pSearch)))
    {
        const std::uint8_t* const pOne = static_cast<const std::uint8_t*>(pFound);
        pSearch = pOne + 1;
        if (pOne[-1] == 0 && pOne[-2] == 0 && pOne[-3] == 0)
        {
            offsets.push_back(static_cast<std::size_t>(pOne - pBegin) - 3);
        }
    }
    return offsets;
}
