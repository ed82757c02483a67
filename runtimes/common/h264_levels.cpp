#include "runtimes/common/h264_levels.h"

#include <algorithm>

namespace runtimes
{
namespace
{

constexpr H264Level c_levels[] = {
    // level, macroblocks a second, a picture; bit rate, buffer, compression
    {10, 1485, 99, 64, 175, 2},
    {9, 1485, 99, 128, 350, 2},
    {11, 3000, 396, 192, 500, 2},
    {12, 6000, 396, 384, 1000, 2},
    {13, 11880, 396, 768, 2000, 2},
    {20, 11880, 396, 2000, 2000, 2},
    {21, 19800, 792, 4000, 4000, 2},
    {22, 20250, 1620, 4000, 4000, 2},
    {30, 40500, 1620, 10000, 10000, 2},
    {31, 108000, 3600, 14000, 14000, 4},
    {32, 216000, 5120, 20000, 20000, 4},
    {40, 245760, 8192, 20000, 25000, 4},
    {41, 245760, 8192, 50000, 62500, 2},
    {42, 522240, 8704, 50000, 62500, 2},
    {50, 589824, 22080, 135000, 135000, 2},
    {51, 983040, 36864, 240000, 240000, 2},
    {52, 2073600, 36864, 240000, 240000, 2},
    {60, 4177920, 139264, 240000, 240000, 2},
    {61, 8355840, 139264, 480000, 480000, 2},
    {62, 16711680, 139264, 800000, 800000, 2},
};

constexpr std::uint64_t c_ui64UnitBits = 1250;        // of bit rates and buffers in High
constexpr std::uint64_t c_ui64SampleBytes = 384;      // of a macroblock
constexpr std::uint64_t c_ui64ShortestPicture = 172;  // the first picture's time is at least this part of a second

bool Admits(const H264Level& level, const StreamBounds& bounds)
{
    const std::uint64_t ui64Macroblocks = std::uint64_t{bounds.uiColumns} * bounds.uiRows;
    const std::uint64_t ui64Longest = std::max(bounds.uiColumns, bounds.uiRows);
    if (ui64Macroblocks > level.uiMacroblocksPerPicture ||
        ui64Longest * ui64Longest > 8 * std::uint64_t{level.uiMacroblocksPerPicture})
    {
        return false;
    }
    const double dRate = static_cast<double>(bounds.uiFrameRateNum) / bounds.uiFrameRateDen;
    const auto dBytes = static_cast<double>(bounds.ui64PictureBytes);
    if (static_cast<double>(ui64Macroblocks) * dRate > level.uiMacroblocksPerSecond ||
        8 * dBytes * dRate > static_cast<double>(c_ui64UnitBits * level.uiBitRate) ||
        8 * bounds.ui64PictureBytes > c_ui64UnitBits * level.uiBuffer)
    {
        return false;
    }
    const std::uint64_t ui64First = std::max(ui64Macroblocks, level.uiMacroblocksPerSecond / c_ui64ShortestPicture);
    return bounds.ui64PictureBytes * level.uiMinCompression <= c_ui64SampleBytes * ui64First &&
           dBytes * dRate * level.uiMinCompression <=
               static_cast<double>(c_ui64SampleBytes * level.uiMacroblocksPerSecond);
}

}  // namespace

std::span<const H264Level> H264Levels()
{
    return c_levels;
}

const H264Level* FindH264Level(std::uint32_t uiLevel)
{
    const auto it = std::ranges::find(c_levels, uiLevel, &H264Level::uiLevel);
    return it == std::end(c_levels) ? nullptr : &*it;
}

const H264Level& LowestH264Level(const StreamBounds& bounds)
{
    const auto it = std::ranges::find_if(c_levels, [&](const H264Level& level) { return Admits(level, bounds); });
    return it == std::end(c_levels) ? *std::prev(it) : *it;
}

}  // namespace runtimes
