#include "parts/nalwalk.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "parts/boxreader.h"

namespace qmhost
{
namespace
{

constexpr std::uint64_t START_CODE = 1;  // as a number of 4 bytes

// A write that the system didn't take as a whole ends at such a place in the file: at the end of a page or a block.
constexpr std::uint64_t PAGE = 4096;

constexpr unsigned END_OF_SEQUENCE = 10;
constexpr unsigned END_OF_STREAM = 11;
constexpr unsigned LAST_KNOWN_TYPE = 21;

// The first byte of a NAL: a bit that is 0, two bits that say whether others refer to it, and its type. Which types are
// never and which are always referred to is fixed.
bool IsFirstByteOfNal(unsigned char uiByte)
{
    const unsigned uiType = uiByte & 0x1FU;
    const bool bReferred = (uiByte & 0x60) != 0;
    if ((uiByte & 0x80) != 0 || uiType == 0 || uiType > LAST_KNOWN_TYPE) return false;
    if (uiType == 6 || (uiType >= 9 && uiType <= 12)) return !bReferred;
    return bReferred || (uiType != 5 && uiType != 7 && uiType != 8);
}

}  // namespace

std::optional<Nal> NalWalk::Stop(EEnd eEnd)
{
    m_eEnd = eEnd;
    return std::nullopt;
}

std::optional<Nal> NalWalk::Take(std::uint64_t uiEnd, bool bCut, bool bUnproven)
{
    Nal nal{m_uiNext, uiEnd, bCut, bUnproven, {}};
    const auto bytes = m_source.View(nal.Begin(), nal.m_abFirst.size());
    const auto uiCount = static_cast<std::size_t>(std::min<std::uint64_t>(nal.Length(), nal.m_abFirst.size()));
    std::copy_n(bytes.begin(), uiCount, nal.m_abFirst.begin());
    m_uiNext = uiEnd;
    return nal;
}

std::optional<Nal> NalWalk::Next()
{
    if (m_uiNext > m_source.Size() || Left(m_uiNext) <= NAL_HEAD) return Stop(EEnd::Data);
    if (IsIndex()) return Stop(EEnd::Index);
    const auto head = m_source.View(m_uiNext, NAL_HEAD + 1);
    const std::uint64_t uiHead = BigEndian(head.first(NAL_HEAD));
    const unsigned char uiFirst = head[NAL_HEAD];
    if (!IsFirstByteOfNal(uiFirst)) return Stop(EEnd::Damaged);
    if (uiHead == START_CODE)
    {
        // These have one byte, so the same four bytes may be their length.
        const unsigned uiType = uiFirst & 0x1FU;
        if (uiType == END_OF_SEQUENCE || uiType == END_OF_STREAM) return Take(m_uiNext + NAL_HEAD + 1, false);
        return TakeUpToStartCode();
    }
    if (IsLength(uiHead))
    {
        m_bLengths = true;
        return Take(m_uiNext + NAL_HEAD + uiHead, false);
    }
    // A length of which only some bytes were written: the start codes after it are all there.
    if (const auto uiStartCode = FindStartCode(m_uiNext + NAL_HEAD)) return Take(*uiStartCode, false);
    const bool bFits = uiHead <= Left(m_uiNext) - NAL_HEAD;
    const bool bLastByteOfStartCode = (uiHead & 0xFF) == START_CODE;
    if (m_bLengths && bFits && bLastByteOfStartCode) return Take(m_source.Size(), false);
    if (!bFits) return Take(m_source.Size(), true);
    return Stop(EEnd::Damaged);
}

// The last NAL has no start code after it. Whether it is whole has to be seen from where it ends.
std::optional<Nal> NalWalk::TakeUpToStartCode()
{
    if (const auto uiStartCode = FindStartCode(m_uiNext + NAL_HEAD)) return Take(*uiStartCode, false);
    const std::uint64_t uiEnd = m_source.Size();
    if (m_bLengths) return Take(uiEnd, false);

    // No NAL ends in a zero. Two or three of them are the beginning of the next start code.
    constexpr std::uint64_t MOST_ZEROS = 4;
    const std::uint64_t uiLook = std::min(MOST_ZEROS, uiEnd - m_uiNext - NAL_HEAD - 1);
    const auto tail = m_source.View(uiEnd - uiLook, static_cast<std::size_t>(uiLook));
    const auto itLast = std::find_if(tail.rbegin(), tail.rend(), [](unsigned char uiByte) { return uiByte != 0; });
    const auto uiZeros = static_cast<std::uint64_t>(itLast - tail.rbegin());
    if (uiZeros == 2 || uiZeros == 3) return Take(uiEnd - uiZeros, false);
    const bool bCut = uiZeros != 0 || uiEnd % PAGE == 0;
    return Take(uiEnd, bCut, !bCut);
}

// Whether the four bytes at m_uiNext are a length: its NAL ends at the end of the data, or another one begins there.
bool NalWalk::IsLength(std::uint64_t uiLength)
{
    const std::uint64_t uiLeft = Left(m_uiNext) - NAL_HEAD;
    if (uiLength == 0 || uiLength > uiLeft) return false;
    return uiLeft - uiLength <= NAL_HEAD || IsHead(m_uiNext + NAL_HEAD + uiLength);
}

bool NalWalk::IsHead(std::uint64_t uiPosition)
{
    const unsigned char uiFirst = m_source.View(uiPosition, NAL_HEAD + 1)[NAL_HEAD];
    return IsFirstByteOfNal(uiFirst) || uiFirst == 'm';
}

// `moov`, or its first bytes where the file ends in its header. No NAL looks like this: 'm' is a type that the encoders
// don't use.
bool NalWalk::IsIndex()
{
    constexpr std::string_view NAME = "moov";
    const auto bytes = m_source.View(m_uiNext, NAL_HEAD + NAME.size());
    const auto uiCount = std::min(bytes.size() - NAL_HEAD, NAME.size());
    return std::memcmp(bytes.data() + NAL_HEAD, NAME.data(), uiCount) == 0;
}

// The next 00 00 00 01 from a position on. Of a run of zeros the last three belong to it. Ones are rare in encoded
// data, so they are looked for first.
std::optional<std::uint64_t> NalWalk::FindStartCode(std::uint64_t uiPosition)
{
    while (uiPosition < m_source.Size() && Left(uiPosition) >= NAL_HEAD)
    {
        const auto bytes = m_source.View(uiPosition, NAL_HEAD);
        const unsigned char* const pBegin = bytes.data();
        const unsigned char* const pEnd = pBegin + bytes.size();
        const unsigned char* pSearch = pBegin + NAL_HEAD - 1;
        while (const void* pFound = std::memchr(pSearch, 1, static_cast<std::size_t>(pEnd - pSearch)))
        {
            const auto* const pOne = static_cast<const unsigned char*>(pFound);
            if (pOne[-1] == 0 && pOne[-2] == 0 && pOne[-3] == 0)
                return uiPosition + static_cast<std::uint64_t>(pOne - pBegin) - (NAL_HEAD - 1);
            pSearch = pOne + 1;
        }
        uiPosition += bytes.size() - (NAL_HEAD - 1);
    }
    return std::nullopt;
}

}  // namespace qmhost
