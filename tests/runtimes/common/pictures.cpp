#include "pictures.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr int c_nTile = 512;

std::uint32_t Mix(std::uint32_t ui)
{
    ui ^= ui >> 16;
    ui *= 0x7FEB352Du;
    ui ^= ui >> 15;
    ui *= 0x846CA68Bu;
    ui ^= ui >> 16;
    return ui;
}

// -0.5 to 0.5
double Noise(std::uint32_t uiSeed)
{
    return Mix(uiSeed) / 4294967296.0 - 0.5;
}

// A square of noise that repeats without a seam, each octave of detail weaker than the one above.
std::vector<float> MakeTile(std::uint32_t uiSeed)
{
    std::vector<float> tile(std::size_t{c_nTile} * c_nTile, 0.0f);
    double dStrength = 1.0;
    for (int nCell = 128; nCell >= 2; nCell /= 2, dStrength *= 0.55)
    {
        const int nCells = c_nTile / nCell;
        const auto corner = [&](int x, int y) {
            return Noise(uiSeed + static_cast<std::uint32_t>(nCell * 7919 + (y % nCells) * nCells + x % nCells));
        };
        for (int y = 0; y < c_nTile; ++y)
        {
            for (int x = 0; x < c_nTile; ++x)
            {
                const double dX = static_cast<double>(x % nCell) / nCell;
                const double dY = static_cast<double>(y % nCell) / nCell;
                const double dTop = std::lerp(corner(x / nCell, y / nCell), corner(x / nCell + 1, y / nCell), dX);
                const double dBottom =
                    std::lerp(corner(x / nCell, y / nCell + 1), corner(x / nCell + 1, y / nCell + 1), dX);
                tile[static_cast<std::size_t>(y) * c_nTile + static_cast<std::size_t>(x)] +=
                    static_cast<float>(dStrength * std::lerp(dTop, dBottom, dY));
            }
        }
    }
    return tile;
}

float At(const std::vector<float>& tile, int x, int y)
{
    return tile[static_cast<std::size_t>(y & (c_nTile - 1)) * c_nTile + static_cast<std::size_t>(x & (c_nTile - 1))];
}

}  // namespace

BgrPicture NaturalPicture(std::uint32_t uiWidth, std::uint32_t uiHeight, int nFrame)
{
    static const std::vector<float> s_light = MakeTile(1);
    static const std::vector<float> s_warmth = MakeTile(1000003);
    BgrPicture picture{uiWidth, uiHeight, std::vector<std::uint8_t>(std::size_t{uiWidth} * uiHeight * 3)};
    std::uint8_t* p = picture.bytes.data();
    for (int y = 0; y < static_cast<int>(uiHeight); ++y)
    {
        for (int x = 0; x < static_cast<int>(uiWidth); ++x)
        {
            const int nX = x + 3 * nFrame;
            const int nY = y + nFrame;
            double dLight = 120 + nFrame % 50 + 130 * At(s_light, nX, nY);
            // Posts and a roof line, now and then.
            dLight += nX % 96 < 5 ? -50 : 0;
            dLight += nY % 140 < 40 ? 35 : 0;
            // Colours change over wider distances than brightness does.
            const double dWarmth = 60 * At(s_warmth, nX / 4, nY / 4);
            dLight += 4 * Noise((static_cast<std::uint32_t>(nFrame) * 4099 + static_cast<std::uint32_t>(y)) * 8209 +
                                static_cast<std::uint32_t>(x));
            for (const double dTint : {-1.0, 0.1, 0.9})
            {
                *p++ = static_cast<std::uint8_t>(std::clamp(dLight + dTint * dWarmth, 0.0, 255.0));
            }
        }
    }
    return picture;
}

void PaintRows(std::uint8_t* pRows, std::ptrdiff_t nPitch, const BgrPicture& picture)
{
    for (std::uint32_t y = 0; y < picture.uiHeight; ++y)
    {
        const std::uint8_t* pSource = picture.bytes.data() + std::size_t{y} * picture.uiWidth * 3;
        std::uint8_t* pTarget = pRows + nPitch * static_cast<std::ptrdiff_t>(y);
        for (std::uint32_t x = 0; x < picture.uiWidth; ++x, pSource += 3, pTarget += 4)
        {
            std::copy_n(pSource, 3, pTarget);
            pTarget[3] = 255;
        }
    }
}

double Psnr(const BgrPicture& first, const BgrPicture& second)
{
    if (first.bytes.size() != second.bytes.size())
    {
        return 0;
    }
    double dSum = 0;
    for (std::size_t i = 0; i < first.bytes.size(); ++i)
    {
        const double dError = static_cast<double>(first.bytes[i]) - second.bytes[i];
        dSum += dError * dError;
    }
    const double dMean = dSum / static_cast<double>(first.bytes.size());
    return dMean == 0 ? 100 : 10 * std::log10(255.0 * 255.0 / dMean);
}
