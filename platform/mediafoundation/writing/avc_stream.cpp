#include "platform/mediafoundation/writing/avc_stream.h"

#include <algorithm>

#include "platform/mediafoundation/writing/mp4_boxes.h"

namespace mediafoundation
{
namespace
{

constexpr std::size_t START_CODE = 3;

enum UnitType : std::uint8_t
{
    FIRST_SLICE = 1,
    LAST_SLICE = 5,
    SEQUENCE_SET = 7,
    PICTURE_SET = 8,
    DELIMITER = 9
};

// Where the next start code begins, or uiSize.
std::size_t FindStartCode(const std::uint8_t* pSample, std::size_t uiFrom, std::size_t uiSize)
{
    for (std::size_t i = uiFrom; i + START_CODE <= uiSize; ++i)
    {
        if (pSample[i] == 0 && pSample[i + 1] == 0 && pSample[i + 2] == 1) return i;
    }
    return uiSize;
}

template <typename Visit>
void VisitUnits(const std::uint8_t* pSample, std::size_t uiSize, Visit visit)
{
    std::size_t uiAt = FindStartCode(pSample, 0, uiSize);
    while (uiAt < uiSize)
    {
        const std::size_t uiBegin = uiAt + START_CODE;
        uiAt = FindStartCode(pSample, uiBegin, uiSize);
        // A unit doesn't end with a zero: such bytes belong to the start code after it.
        std::size_t uiEnd = uiAt;
        while (uiEnd > uiBegin && pSample[uiEnd - 1] == 0)
        {
            --uiEnd;
        }
        if (uiEnd > uiBegin) visit(pSample + uiBegin, uiEnd - uiBegin);
    }
}

void AppendUnit(const std::uint8_t* pUnit, std::size_t uiSize, std::vector<std::uint8_t>* pTarget)
{
    for (int nShift = 24; nShift >= 0; nShift -= 8)
    {
        pTarget->push_back(static_cast<std::uint8_t>(uiSize >> nShift));
    }
    pTarget->insert(pTarget->end(), pUnit, pUnit + uiSize);
}

}  // namespace

bool AvcStream::Convert(const std::uint8_t* pSample, std::size_t uiSize, std::vector<std::uint8_t>* pTarget)
{
    const auto keep = [](std::vector<Unit>& sets, const std::uint8_t* pUnit, std::size_t uiUnit) {
        Unit unit(pUnit, pUnit + uiUnit);
        if (std::find(sets.begin(), sets.end(), unit) == sets.end()) sets.push_back(std::move(unit));
    };
    const std::size_t uiBefore = pTarget->size();
    bool bPicture = false;
    VisitUnits(pSample, uiSize, [&](const std::uint8_t* pUnit, std::size_t uiUnit) {
        const unsigned uiType = pUnit[0] & 0x1fU;
        if (uiType == SEQUENCE_SET) return keep(m_sequenceSets, pUnit, uiUnit);
        if (uiType == PICTURE_SET) return keep(m_pictureSets, pUnit, uiUnit);
        if (uiType == DELIMITER) return;
        bPicture = bPicture || (uiType >= FIRST_SLICE && uiType <= LAST_SLICE);
        AppendUnit(pUnit, uiUnit, pTarget);
    });
    if (!bPicture) pTarget->resize(uiBefore);
    return bPicture;
}

std::vector<std::uint8_t> AvcStream::Configuration() const
{
    constexpr std::uint8_t FOUR_LENGTH_BYTES = 0xff;
    constexpr std::uint8_t HIGH = 100;
    constexpr std::size_t MOST_SEQUENCE_SETS = 31;
    constexpr std::size_t MOST_PICTURE_SETS = 255;

    BoxWriter box;
    const Unit& first = m_sequenceSets.front();
    box.Byte(1);
    for (std::size_t i = 1; i <= 3; ++i)  // profile, its constraints, level
    {
        box.Byte(i < first.size() ? first[i] : 0);
    }
    box.Byte(FOUR_LENGTH_BYTES);
    const auto append = [&](const std::vector<Unit>& sets, std::size_t uiMost, std::uint8_t uiReserved) {
        const std::size_t uiCount = std::min(sets.size(), uiMost);
        box.Byte(static_cast<std::uint8_t>(uiCount | uiReserved));
        for (std::size_t i = 0; i < uiCount; ++i)
        {
            box.Half(static_cast<std::uint16_t>(sets[i].size()));
            box.Bytes(sets[i]);
        }
    };
    append(m_sequenceSets, MOST_SEQUENCE_SETS, 0xe0);
    append(m_pictureSets, MOST_PICTURE_SETS, 0);
    if (first.size() > 1 && first[1] >= HIGH)
    {
        box.Byte(0xfd);  // colour has half the size in both directions
        box.Byte(0xf8);  // 8 bits of brightness
        box.Byte(0xf8);  // and of colour
        box.Byte(0);     // no extensions of sequence sets
    }
    return box.Content();
}

}  // namespace mediafoundation
