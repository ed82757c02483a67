#include "support/mp4_boxes.h"

#include <algorithm>
#include <stdexcept>

namespace test_support
{

std::vector<Mp4Box> ListBoxes(const Bytes& vFile, std::size_t uiBegin, std::size_t uiEnd)
{
    std::vector<Mp4Box> vBoxes;
    while (uiBegin + 8 <= uiEnd)
    {
        Mp4Box box;
        box.m_uiHeader = uiBegin;
        box.m_uiPayload = uiBegin + 8;
        box.m_strType.assign(vFile.begin() + static_cast<std::ptrdiff_t>(uiBegin + 4),
                             vFile.begin() + static_cast<std::ptrdiff_t>(uiBegin + 8));
        std::uint64_t uiSize = WordAt(vFile, uiBegin);
        if (uiSize == 1)
        {
            uiSize = static_cast<std::uint64_t>(WordAt(vFile, uiBegin + 8)) << 32 | WordAt(vFile, uiBegin + 12);
            box.m_uiPayload += 8;
        }
        if (uiSize == 0) uiSize = uiEnd - uiBegin;
        if (uiSize < box.m_uiPayload - uiBegin || uiSize > uiEnd - uiBegin)
        {
            throw std::runtime_error("box " + box.m_strType + " leaves its parent");
        }
        box.m_uiEnd = uiBegin + static_cast<std::size_t>(uiSize);
        uiBegin = box.m_uiEnd;
        vBoxes.push_back(box);
    }
    return vBoxes;
}

Mp4Box FindBox(const Bytes& vFile, const std::string& strPath)
{
    std::size_t uiBegin = 0;
    std::size_t uiEnd = vFile.size();
    Mp4Box box;
    for (std::size_t uiName = 0; uiName < strPath.size(); uiName += 5)
    {
        const std::string strType = strPath.substr(uiName, 4);
        const std::vector<Mp4Box> vBoxes = ListBoxes(vFile, uiBegin, uiEnd);
        const auto it =
            std::find_if(vBoxes.begin(), vBoxes.end(), [&](const Mp4Box& b) { return b.m_strType == strType; });
        if (it == vBoxes.end()) throw std::runtime_error("no box " + strPath);
        box = *it;
        uiBegin = box.m_uiPayload;
        uiEnd = box.m_uiEnd;
    }
    return box;
}

std::vector<std::uint64_t> ListTimesMs(const Bytes& vFile)
{
    const Mp4Box mdhd = FindBox(vFile, "moov/trak/mdia/mdhd");
    const bool bLongTimes = vFile.at(mdhd.m_uiPayload) == 1;
    const std::uint64_t uiTimescale = WordAt(vFile, mdhd.m_uiPayload + (bLongTimes ? 20 : 12));

    const Mp4Box stts = FindBox(vFile, "moov/trak/mdia/minf/stbl/stts");
    std::vector<std::uint64_t> vTimes;
    std::uint64_t uiTicks = 0;
    for (std::uint32_t uiEntry = 0; uiEntry < WordAt(vFile, stts.m_uiPayload + 4); ++uiEntry)
    {
        const std::size_t uiAt = stts.m_uiPayload + 8 + 8 * static_cast<std::size_t>(uiEntry);
        for (std::uint32_t uiSample = 0; uiSample < WordAt(vFile, uiAt); ++uiSample)
        {
            vTimes.push_back(uiTicks * 1000 / uiTimescale);
            uiTicks += WordAt(vFile, uiAt + 4);
        }
    }
    return vTimes;
}

}  // namespace test_support
