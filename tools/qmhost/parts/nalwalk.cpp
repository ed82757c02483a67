#include "parts/nalwalk.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>

#include "parts/boxreader.h"

namespace qmhost
{
namespace
{

constexpr std::uint64_t START_CODE = 1;  // as a number of 4 bytes
constexpr std::uint64_t START_CODE_ZEROS = 3;
constexpr std::uint64_t MOST_ZEROS = 16;  // in front of the 1 of a start code; more are a hole in the data
constexpr std::uint64_t TO_THE_END = std::numeric_limits<std::uint64_t>::max();

constexpr unsigned END_OF_SEQUENCE = 10;
constexpr unsigned END_OF_STREAM = 11;

// The first byte of a NAL: a bit that is 0, two bits that say whether others refer to it, and its type. Only the types
// that encoders write for plain streams count. Which of them are never and which are always referred to is fixed.
bool IsFirstByteOfNal(unsigned char uiByte)
{
    const bool bReferred = (uiByte & 0x60) != 0;
    if ((uiByte & 0x80) != 0) return false;
    switch (uiByte & 0x1FU)
    {
    case 1:   // slice
    case 14:  // prefix of a slice
    case 20:
        return true;
    case NAL_IDR_SLICE:
    case NAL_SEQUENCE_SET:
    case NAL_PICTURE_SET:
    case 15:
        return bReferred;
    case 6:  // remarks
    case NAL_DELIMITER:
    case END_OF_SEQUENCE:
    case END_OF_STREAM:
    case 12:
        return !bReferred;  // filler
    default:
        return false;
    }
}

}  // namespace

void NalWalk::NoteDamage(std::uint64_t uiPosition)
{
    if (!m_uiDamage) m_uiDamage = uiPosition;
}

std::optional<Nal> NalWalk::Stop(EEnd eEnd)
{
    m_eEnd = eEnd;
    if (eEnd == EEnd::Damaged) NoteDamage(m_uiNext);
    return std::nullopt;
}

Nal NalWalk::Take(std::uint64_t uiEnd)
{
    Nal nal{m_uiNext, uiEnd, false, false, false, {}};
    const auto bytes = m_source.View(nal.Begin(), nal.m_abFirst.size());
    const auto uiCount = static_cast<std::size_t>(std::min<std::uint64_t>(nal.Length(), nal.m_abFirst.size()));
    std::copy_n(bytes.begin(), uiCount, nal.m_abFirst.begin());
    m_uiNext = uiEnd;
    return nal;
}

Nal NalWalk::TakeCut()
{
    Nal nal = Take(m_source.Size());
    nal.m_bCut = true;
    return nal;
}

// What is no NAL, up to the next start code.
std::optional<Nal> NalWalk::TakeDamaged()
{
    const auto uiEnd = FindStartCode(m_uiNext + NAL_HEAD + 1, TO_THE_END).m_uiStartCode;
    if (!uiEnd) return Stop(EEnd::Damaged);
    NoteDamage(m_uiNext);
    Nal nal = Take(*uiEnd);
    nal.m_bDamaged = true;
    nal.m_abFirst = {};
    return nal;
}

std::optional<Nal> NalWalk::Next()
{
    if (m_uiNext > m_source.Size() || Left(m_uiNext) <= NAL_HEAD) return Stop(EEnd::Data);
    if (IsIndex(m_uiNext)) return Stop(EEnd::Index);
    const auto head = m_source.View(m_uiNext, NAL_HEAD + 1);
    const std::uint64_t uiHead = BigEndian(head.first(NAL_HEAD));
    const unsigned char uiFirst = head[NAL_HEAD];
    if (!IsFirstByteOfNal(uiFirst)) return TakeDamaged();
    if (uiHead == START_CODE)
    {
        // These have one byte, so the same four bytes may be their length.
        const unsigned uiType = uiFirst & 0x1FU;
        if (uiType == END_OF_SEQUENCE || uiType == END_OF_STREAM) return Take(m_uiNext + NAL_HEAD + 1);
        return TakeUpToStartCode();
    }
    if (const auto uiEnd = EndAfterHalfLength(uiHead))
    {
        m_bLengths = true;
        return Take(*uiEnd);
    }
    if (IsLength(uiHead))
    {
        m_bLengths = true;
        return Take(m_uiNext + NAL_HEAD + uiHead);
    }
    const bool bFits = uiHead <= Left(m_uiNext) - NAL_HEAD;
    if (!bFits && !FindStartCode(m_uiNext + NAL_HEAD + 1, TO_THE_END).m_uiStartCode) return TakeCut();
    return TakeDamaged();
}

// The last NAL has no start code after it. Nothing shows then whether it is whole, unless the muxer had begun to write
// lengths.
Nal NalWalk::TakeUpToStartCode()
{
    const std::uint64_t uiBegin = m_uiNext + NAL_HEAD;
    const Found found = FindStartCode(uiBegin, TO_THE_END);
    std::uint64_t uiEnd = found.m_uiStartCode.value_or(m_source.Size());
    const bool bLengths = !found.m_uiHole && HidesLengths(uiBegin, uiEnd);
    if (found.m_uiHole) NoteDamage(*found.m_uiHole);
    if (bLengths) NoteDamage(m_uiNext);
    if (!found.m_uiStartCode)
    {
        if (found.m_uiHole || bLengths) return TakeCut();
        // No NAL ends in a zero. Three are the beginning of the next start code, fewer may be.
        while (uiEnd > uiBegin + 1 && m_source.View(uiEnd - 1, 1)[0] == 0)
            --uiEnd;
    }
    const bool bProven = found.m_uiStartCode || m_bLengths || m_source.Size() - uiEnd == START_CODE_ZEROS;
    Nal nal = Take(uiEnd);
    nal.m_bDamaged = found.m_uiHole || bLengths;
    nal.m_bUnproven = !bProven;
    return nal;
}

// Whether the four bytes at m_uiNext are a length: its NAL ends at the end of the data, or another one begins there.
bool NalWalk::IsLength(std::uint64_t uiLength)
{
    const std::uint64_t uiLeft = Left(m_uiNext) - NAL_HEAD;
    if (uiLength == 0 || uiLength > uiLeft) return false;
    return uiLeft - uiLength <= NAL_HEAD || IsHead(m_uiNext + NAL_HEAD + uiLength);
}

// The end of the NAL at m_uiNext if only the first one, two or three bytes of its length were written over its start
// code. They and the place of the next start code have to agree.
std::optional<std::uint64_t> NalWalk::EndAfterHalfLength(std::uint64_t uiHead)
{
    if ((uiHead & 0xFF) != START_CODE) return std::nullopt;
    const std::uint64_t uiBegin = m_uiNext + NAL_HEAD;
    const std::uint64_t uiLeft = Left(uiBegin);
    std::uint64_t uiUnknown = 0xFF;  // bits of the length that weren't written
    while (uiUnknown < 0xFFFFFF && (uiHead & (uiUnknown << 8 | 0xFF)) == START_CODE)
        uiUnknown = uiUnknown << 8 | 0xFF;
    const std::uint64_t uiLeast = std::max<std::uint64_t>(uiHead & ~uiUnknown, 1);
    const std::uint64_t uiMost = uiHead | uiUnknown;
    if (uiLeast > uiLeft || LengthsLeadOn(uiBegin + uiHead, uiBegin + uiMost)) return std::nullopt;
    if (const auto uiStartCode = FindStartCode(uiBegin + uiLeast, uiBegin + uiMost).m_uiStartCode) return uiStartCode;
    return uiLeft <= uiMost ? std::optional(m_source.Size()) : std::nullopt;
}

// Whether lengths from a position on lead to a start code, the index or the end of the data, not after uiLast.
bool NalWalk::LengthsLeadOn(std::uint64_t uiPosition, std::uint64_t uiLast)
{
    while (uiPosition <= std::min(uiLast, m_source.Size()))
    {
        if (uiPosition == m_source.Size() || IsIndex(uiPosition)) return true;
        const auto head = m_ahead.View(uiPosition, NAL_HEAD + 1);
        if (head.size() <= NAL_HEAD || !IsFirstByteOfNal(head[NAL_HEAD])) return false;
        const std::uint64_t uiHead = BigEndian(head.first(NAL_HEAD));
        if (uiHead == START_CODE) return true;
        uiPosition += NAL_HEAD + uiHead;
    }
    return false;
}

// Whether lengths stand in what looks like one NAL with a start code. The last of them leads to its end.
bool NalWalk::HidesLengths(std::uint64_t uiBegin, std::uint64_t uiEnd)
{
    while (uiBegin + NAL_HEAD < uiEnd)
    {
        const auto bytes = m_source.View(uiBegin, NAL_HEAD + 1);
        const auto uiSearch = static_cast<std::size_t>(std::min(bytes.size(), uiEnd - uiBegin) - NAL_HEAD);
        for (std::size_t ui = 0; ui < uiSearch; ++ui)
        {
            // No length of a real NAL has more than three bytes.
            const void* const pZero = std::memchr(bytes.data() + ui, 0, uiSearch - ui);
            if (pZero == nullptr) break;
            ui = static_cast<std::size_t>(static_cast<const unsigned char*>(pZero) - bytes.data());
            const std::uint64_t uiAfter = uiBegin + ui + NAL_HEAD;
            const std::uint64_t uiLength = BigEndian(bytes.subspan(ui, NAL_HEAD));
            if (uiAfter + uiLength == uiEnd && IsFirstByteOfNal(bytes[ui + NAL_HEAD])) return true;
        }
        uiBegin += uiSearch;
    }
    return false;
}

// A NAL begins there, or the index. A length may reach past the end of the data.
bool NalWalk::IsHead(std::uint64_t uiPosition)
{
    if (IsIndex(uiPosition)) return true;
    const auto head = m_ahead.View(uiPosition, NAL_HEAD + 1);
    return BigEndian(head.first(NAL_HEAD)) != 0 && IsFirstByteOfNal(head[NAL_HEAD]);
}

// `moov`, or its first bytes where the file ends in its header. No NAL looks like this: 'm' is a type that the encoders
// don't use.
bool NalWalk::IsIndex(std::uint64_t uiPosition)
{
    constexpr std::string_view NAME = "moov";
    const auto bytes = m_ahead.View(uiPosition, NAL_HEAD + NAME.size());
    if (bytes.size() <= NAL_HEAD) return false;
    const auto uiCount = std::min(bytes.size() - NAL_HEAD, NAME.size());
    return std::memcmp(bytes.data() + NAL_HEAD, NAME.data(), uiCount) == 0;
}

// The next 00 00 00 01 that begins from uiPosition to uiLast. Of a run of zeros the last three belong to it.
NalWalk::Found NalWalk::FindStartCode(std::uint64_t uiPosition, std::uint64_t uiLast)
{
    Found found;
    for (;;)
    {
        const auto uiZeros = FindThreeZeros(uiPosition, uiLast);
        if (!uiZeros) return found;
        const std::uint64_t uiAfter = EndOfZeros(*uiZeros);
        const bool bEnd = uiAfter == m_source.Size();
        if (bEnd && uiAfter - *uiZeros == START_CODE_ZEROS) return found;
        if (!bEnd && uiAfter - *uiZeros <= MOST_ZEROS && m_source.View(uiAfter, 1)[0] == START_CODE)
        {
            if (uiAfter - START_CODE_ZEROS <= uiLast) found.m_uiStartCode = uiAfter - START_CODE_ZEROS;
            return found;
        }
        if (!found.m_uiHole) found.m_uiHole = *uiZeros;
        uiPosition = uiAfter;
    }
}

// The next three zeros that begin from uiPosition to uiLast.
std::optional<std::uint64_t> NalWalk::FindThreeZeros(std::uint64_t uiPosition, std::uint64_t uiLast)
{
    while (uiPosition <= uiLast && uiPosition < m_source.Size() && Left(uiPosition) >= 3)
    {
        auto bytes = m_source.View(uiPosition, 3);
        bytes =
            bytes.first(static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size() - 3, uiLast - uiPosition) + 3));
        for (std::size_t ui = 2; ui < bytes.size();)
        {
            if (bytes[ui] != 0)
                ui += 3;
            else if (bytes[ui - 1] != 0)
                ui += 2;
            else if (bytes[ui - 2] != 0)
                ui += 1;
            else
                return uiPosition + ui - 2;
        }
        uiPosition += bytes.size() - 2;
    }
    return std::nullopt;
}

std::uint64_t NalWalk::EndOfZeros(std::uint64_t uiPosition)
{
    while (uiPosition < m_source.Size())
    {
        const auto bytes = m_source.View(uiPosition, 1);
        const auto itOther = std::find_if(bytes.begin(), bytes.end(), [](unsigned char uiByte) { return uiByte != 0; });
        uiPosition += static_cast<std::uint64_t>(itOther - bytes.begin());
        if (itOther != bytes.end()) break;
    }
    return uiPosition;
}

}  // namespace qmhost
