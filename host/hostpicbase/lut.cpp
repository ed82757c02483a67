// Look-up tables: measuring the range of a picture, and the tables that stretch a range over the display's.
#include "hostapi/hostpicbase.h"

#include <algorithm>
#include <new>
#include <vector>

#include "host/hostpicbase/pixelform.h"

namespace
{

constexpr std::uint64_t LUT_EMPTY = 0;
constexpr std::uint64_t LUT_HAS_RANGE = 1;

using CHistogram = std::vector<std::uint64_t>;  // how many pixels have each value

struct SRange
{
    double m_dLow;
    double m_dHigh;
};

// Values above the highest that the bits allow count as the highest.
template <typename TComponent>
void CountValues(std::vector<CHistogram>& vHistograms, const SQmPicBuf& pic)
{
    const std::uint32_t uiMax = MaxComponentValue(pic.m_uiBits);
    for (std::size_t y = 0; y < pic.m_uiHeight; ++y)
    {
        const unsigned char* pRow = pic.m_pData + y * pic.m_uiWidthBytes;
        std::size_t i = 0;
        for (std::uint32_t x = 0; x < pic.m_uiWidth; ++x)
        {
            for (CHistogram& histogram : vHistograms)
            {
                ++histogram[std::min<std::uint32_t>(LoadComponent<TComponent>(pRow, i++), uiMax)];
            }
        }
    }
}

// The value with uiBelow pixels before it when all pixels are sorted.
std::uint32_t ValueAtRank(const CHistogram& histogram, std::uint64_t uiBelow)
{
    std::uint32_t uiValue = 0;
    while (uiValue + 1 < histogram.size() && histogram[uiValue] <= uiBelow)
        uiBelow -= histogram[uiValue++];
    return uiValue;
}

SRange MeasureRange(const CHistogram& histogram, std::uint64_t uiPixels, double dLow, double dHigh)
{
    const auto leaveOut = [uiPixels](double dPart) {
        return std::min(static_cast<std::uint64_t>(dPart * static_cast<double>(uiPixels)), uiPixels - 1);
    };
    return {static_cast<double>(ValueAtRank(histogram, leaveOut(dLow))),
            static_cast<double>(ValueAtRank(histogram, uiPixels - 1 - leaveOut(dHigh)))};
}

// A range without extent can't be stretched; the picture is then shown as it is.
void FillTable(unsigned char* pTable, std::uint32_t uiBits, SRange range)
{
    const std::uint32_t uiMax = MaxComponentValue(uiBits);
    if (!(range.m_dLow < range.m_dHigh)) range = {0.0, static_cast<double>(uiMax)};
    for (std::uint32_t uiValue = 0; uiValue <= uiMax; ++uiValue)
    {
        const double dPart = (uiValue - range.m_dLow) * 255.0 / (range.m_dHigh - range.m_dLow);
        pTable[uiValue] = static_cast<unsigned char>(RoundHalfUp(std::clamp(dPart, 0.0, 255.0)));
    }
}

}  // namespace

SQmLut::SQmLut() : m_uiHead(LUT_EMPTY), m_uiComponents(0), m_uiBits(0), m_adLow{}, m_adHigh{}, m_pTables(nullptr) {}

SQmLut::~SQmLut()
{
    Free(*this);
}

void SQmLut::Free(SQmLut& lut)
{
    delete[] lut.m_pTables;
    lut.m_pTables = nullptr;
}

QmStatus SQmPicBufAPI_Base::GetAutoContrast(SQmLutParam*, SQmLut* pLut, SQmPicBuf* pPic, double dLow, double dHigh,
                                            bool bLinkComponents, bool bMonotone)
{
    if (pLut == nullptr || pPic == nullptr || pPic->m_pData == nullptr) return QM_ERR_FAIL;
    if (bMonotone || !IsPixelForm(pPic->m_uiBits, pPic->m_uiComponents)) return QM_ERR_RANGE;
    if (pPic->m_uiWidthBytes < RowBytes(pPic->m_uiWidth, pPic->m_uiBits, pPic->m_uiComponents)) return QM_ERR_RANGE;
    if (!(dLow >= 0.0 && dHigh >= 0.0 && dLow + dHigh < 1.0)) return QM_ERR_RANGE;
    const std::uint64_t uiPixels = std::uint64_t{pPic->m_uiWidth} * pPic->m_uiHeight;
    if (uiPixels == 0) return QM_ERR_RANGE;

    try
    {
        std::vector<CHistogram> vHistograms(pPic->m_uiComponents, CHistogram(MaxComponentValue(pPic->m_uiBits) + 1));
        if (BytesPerComponent(pPic->m_uiBits) == 1)
        {
            CountValues<std::uint8_t>(vHistograms, *pPic);
        }
        else
        {
            CountValues<std::uint16_t>(vHistograms, *pPic);
        }
        for (std::uint32_t c = 0; c < pPic->m_uiComponents; ++c)
        {
            const SRange range = MeasureRange(vHistograms[c], uiPixels, dLow, dHigh);
            pLut->m_adLow[c] = range.m_dLow;
            pLut->m_adHigh[c] = range.m_dHigh;
        }
    }
    catch (const std::bad_alloc&)
    {
        return QM_ERR_FAIL;
    }
    if (bLinkComponents)
    {
        const double dLowest = *std::min_element(pLut->m_adLow, pLut->m_adLow + pPic->m_uiComponents);
        const double dHighest = *std::max_element(pLut->m_adHigh, pLut->m_adHigh + pPic->m_uiComponents);
        std::fill_n(pLut->m_adLow, pPic->m_uiComponents, dLowest);
        std::fill_n(pLut->m_adHigh, pPic->m_uiComponents, dHighest);
    }
    pLut->m_uiComponents = pPic->m_uiComponents;
    pLut->m_uiBits = pPic->m_uiBits;
    pLut->m_uiHead = LUT_HAS_RANGE;
    return QM_OK;
}

QmStatus SQmPicBufAPI_Base::CreateLutsRGB(SQmLut* pDisplay, SQmLutParam*, std::uint32_t uiBits, SQmLut* pSource,
                                          CQmRangeMask*, bool bBuild)
{
    if (pDisplay == nullptr) return QM_ERR_FAIL;
    if (!IsPixelForm(uiBits, 1)) return QM_ERR_RANGE;

    // Without a measured range the number of components isn't known either, so the tables are for the most there can
    // be.
    const bool bRange = pSource != nullptr && pSource->m_uiHead != LUT_EMPTY;
    if (bRange && (pSource->m_uiBits != uiBits || !IsPixelForm(uiBits, pSource->m_uiComponents))) return QM_ERR_RANGE;
    const std::uint32_t uiComponents = bRange ? pSource->m_uiComponents : MAX_COMPONENTS;
    const std::size_t uiTableSize = std::size_t{MaxComponentValue(uiBits)} + 1;

    unsigned char* pTables = nullptr;
    if (bBuild)
    {
        pTables = new (std::nothrow) unsigned char[uiComponents * uiTableSize];
        if (pTables == nullptr) return QM_ERR_FAIL;
    }
    for (std::uint32_t c = 0; c < uiComponents; ++c)
    {
        const SRange range = bRange ? SRange{pSource->m_adLow[c], pSource->m_adHigh[c]}
                                    : SRange{0.0, static_cast<double>(MaxComponentValue(uiBits))};
        if (bBuild) FillTable(pTables + c * uiTableSize, uiBits, range);
        pDisplay->m_adLow[c] = range.m_dLow;
        pDisplay->m_adHigh[c] = range.m_dHigh;
    }
    SQmLut::Free(*pDisplay);
    pDisplay->m_pTables = pTables;
    pDisplay->m_uiComponents = uiComponents;
    pDisplay->m_uiBits = uiBits;
    pDisplay->m_uiHead = bRange ? LUT_HAS_RANGE : LUT_EMPTY;
    return QM_OK;
}
