// Columns first, then rows: each source row is resampled to the target's width once, and the target's rows are weighted
// sums of such rows.
#include "host/hostpicbase/resample.h"

#include <limits>

#include "host/hostpicbase/pixelform.h"

namespace
{

template <typename TComponent, std::uint32_t COMPONENTS>
void ResampleRow(double* pdRow, const unsigned char* pSource, std::ptrdiff_t nPixelStep, const SAxisTaps& columns)
{
    for (const SAxisTaps::SPixel& pixel : columns.m_vPixels)
    {
        double adSum[COMPONENTS] = {};
        const double* pdWeights = columns.m_vWeights.data() + pixel.m_uiWeights;
        for (std::uint32_t i = 0; i < pixel.m_uiCount; ++i)
        {
            const unsigned char* pPixel = pSource + static_cast<std::ptrdiff_t>(pixel.m_uiFirst + i) * nPixelStep;
            for (std::uint32_t c = 0; c < COMPONENTS; ++c)
            {
                adSum[c] += pdWeights[i] * LoadComponent<TComponent>(pPixel, c);
            }
        }
        for (std::uint32_t c = 0; c < COMPONENTS; ++c)
            *pdRow++ = adSum[c];
    }
}

template <typename TComponent, std::uint32_t COMPONENTS>
void Resample(const SPixelTarget& target, const SPixelSource& source, const SAxisTaps& columns, const SAxisTaps& rows)
{
    // Neighbouring target rows share at most two neighbouring source rows: an odd and an even one.
    constexpr std::uint32_t NO_ROW = std::numeric_limits<std::uint32_t>::max();
    const std::size_t uiRowLength = columns.m_vPixels.size() * COMPONENTS;
    std::vector<double> avRows[2] = {std::vector<double>(uiRowLength), std::vector<double>(uiRowLength)};
    std::uint32_t auiRowHeld[2] = {NO_ROW, NO_ROW};
    std::vector<double> vSum(uiRowLength);
    const double dTotal = columns.m_dTotal * rows.m_dTotal;

    for (std::size_t y = 0; y < rows.m_vPixels.size(); ++y)
    {
        const SAxisTaps::SPixel& pixel = rows.m_vPixels[y];
        vSum.assign(uiRowLength, 0.0);
        for (std::uint32_t i = 0; i < pixel.m_uiCount; ++i)
        {
            const std::uint32_t uiRow = pixel.m_uiFirst + i;
            std::vector<double>& vRow = avRows[uiRow % 2];
            if (auiRowHeld[uiRow % 2] != uiRow)
            {
                const unsigned char* pSourceRow =
                    source.m_pFirst + static_cast<std::ptrdiff_t>(uiRow) * source.m_nRowStep;
                ResampleRow<TComponent, COMPONENTS>(vRow.data(), pSourceRow, source.m_nPixelStep, columns);
                auiRowHeld[uiRow % 2] = uiRow;
            }
            const double dWeight = rows.m_vWeights[pixel.m_uiWeights + i];
            for (std::size_t k = 0; k < uiRowLength; ++k)
                vSum[k] += dWeight * vRow[k];
        }
        unsigned char* pTargetRow = target.m_pFirst + y * target.m_uiRowStep;
        for (std::size_t k = 0; k < uiRowLength; ++k)
        {
            StoreComponent(pTargetRow, k, static_cast<TComponent>(RoundHalfUp(vSum[k] / dTotal)));
        }
    }
}

template <typename TComponent>
void ResampleComponents(const SPixelTarget& target, const SPixelSource& source, const SAxisTaps& columns,
                        const SAxisTaps& rows)
{
    switch (target.m_uiComponents)
    {
    case 1:
        return Resample<TComponent, 1>(target, source, columns, rows);
    case 2:
        return Resample<TComponent, 2>(target, source, columns, rows);
    case 3:
        return Resample<TComponent, 3>(target, source, columns, rows);
    case 4:
        return Resample<TComponent, 4>(target, source, columns, rows);
    }
}

}  // namespace

void ResamplePixels(const SPixelTarget& target, const SPixelSource& source, const SAxisTaps& columns,
                    const SAxisTaps& rows)
{
    if (BytesPerComponent(target.m_uiBits) == 1)
    {
        ResampleComponents<std::uint8_t>(target, source, columns, rows);
    }
    else
    {
        ResampleComponents<std::uint16_t>(target, source, columns, rows);
    }
}
