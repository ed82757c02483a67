#include "parts/framelist.h"

#include <algorithm>
#include <limits>
#include <string>

#include "parts/text.h"

namespace qmhost
{
namespace
{

[[noreturn]] void Refuse(std::string_view item, std::string_view why)
{
    throw FrameListError(Quoted(item) + " " + std::string(why));
}

std::string_view Trimmed(std::string_view text)
{
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

// Cuts text at its first separator and gives the piece before it; text becomes the rest.
std::string_view TakePiece(std::string_view& text, char cSeparator, bool& bMore)
{
    const std::size_t uiEnd = text.find(cSeparator);
    bMore = uiEnd != std::string_view::npos;
    const std::string_view piece = Trimmed(text.substr(0, uiEnd));
    text = bMore ? text.substr(uiEnd + 1) : std::string_view();
    return piece;
}

template <class TNumber>
TNumber ParseNumber(std::string_view text, std::string_view item, std::string_view why)
{
    const auto number = NumberFromText<TNumber>(text);
    if (!number) Refuse(item, why);
    return *number;
}

FrameRange ParseItem(std::string_view item)
{
    static constexpr std::string_view NO_FRAME = "is no frame number and no range START:END or START:END:STEP";
    bool bMore = false;
    std::string_view rest = item;
    const auto uiStart = ParseNumber<std::uint32_t>(TakePiece(rest, ':', bMore), item, NO_FRAME);
    if (!bMore) return {uiStart, 0, 1};

    const auto uiEnd = ParseNumber<std::uint32_t>(TakePiece(rest, ':', bMore), item, NO_FRAME);
    std::int64_t nStep = 1;
    if (bMore)
    {
        nStep = ParseNumber<std::int32_t>(Trimmed(rest), item, NO_FRAME);
        if (nStep == 0) Refuse(item, "has a step of 0");
    }
    const std::int64_t nWay = static_cast<std::int64_t>(uiEnd) - static_cast<std::int64_t>(uiStart);
    if ((nWay < 0) != (nStep < 0) && nWay != 0)
        Refuse(item, nWay < 0 ? "runs down, which takes a negative step" : "runs up, which takes a positive step");
    return {uiStart, nStep, static_cast<std::uint64_t>(nWay / nStep) + 1};
}

}  // namespace

std::uint64_t FrameRange::Largest() const
{
    if (m_nStep <= 0) return m_uiStart;
    return m_uiStart + (m_uiCount - 1) * static_cast<std::uint64_t>(m_nStep);
}

FrameList FrameList::Parse(std::string_view text)
{
    FrameList list;
    bool bMore = true;
    while (bMore)
    {
        const std::string_view item = TakePiece(text, ',', bMore);
        if (item.empty()) throw FrameListError("an item of the list is empty");
        list.m_vRanges.push_back(ParseItem(item));
    }
    return list;
}

FrameList FrameList::All(std::uint32_t uiCount)
{
    FrameList list;
    if (uiCount > 0) list.m_vRanges.push_back({0, 1, uiCount});
    return list;
}

std::uint64_t FrameList::Count() const
{
    // A range holds at most 2^32 frames, so this can't wrap before the command line ends.
    std::uint64_t uiCount = 0;
    for (const FrameRange& range : m_vRanges)
        uiCount += range.m_uiCount;
    return uiCount;
}

std::uint32_t FrameList::Largest() const
{
    std::uint64_t uiLargest = 0;
    for (const FrameRange& range : m_vRanges)
        uiLargest = std::max(uiLargest, range.Largest());
    return static_cast<std::uint32_t>(uiLargest);
}

}  // namespace qmhost
