// The colour conversions for AVX2. Each float lane does the same operations as the plain code in the same order, so the
// bytes are the same. The saturating packs limit the truncated integers to bytes.
//
// Files of this kind use nothing of the standard library's inline code: the linker may keep one file's copy of such
// code for the whole module, and one compiled for AVX2 would not run on an older processor.
//
// The rest of a row is converted by a block that ends with the row and converts some pixels a second time. Rows shorter
// than a block are converted by the plain code.
#include "colour/colourkernels_avx2.h"

#include <immintrin.h>

namespace
{
constexpr std::size_t g_uiPairsPerBlock = 8;
constexpr std::size_t g_uiPixelsPerBlock = 8;

__m256 ToFloat(__m256i n)
{
    return _mm256_cvtepi32_ps(n);
}

__m256i Truncate(__m256 f)
{
    return _mm256_cvttps_epi32(f);
}

__m256 Times(__m256 f, float fFactor)
{
    return _mm256_mul_ps(f, _mm256_set1_ps(fFactor));
}

__m256i LowByte(__m256i n)
{
    return _mm256_and_si256(n, _mm256_set1_epi32(0xFF));
}

__m256i Both(__m128i nLane)
{
    return _mm256_broadcastsi128_si256(nLane);
}

// 16 bytes into either half.
__m256i Load(const std::uint8_t* pLow, const std::uint8_t* pHigh)
{
    const __m128i nLow = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pLow));
    const __m128i nHigh = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pHigh));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(nLow), nHigh, 1);
}

// ---- YUY2 to B, G, R ----

// Limits 8 pairs of values to 16 bits each, 4 pairs a half: pair n's first value is at n of a half, its second at n
// + 4.
__m256i Pack(__m256 fFirst, __m256 fSecond)
{
    return _mm256_packs_epi32(Truncate(fFirst), Truncate(fSecond));
}

// nBlueGreen holds in each half the bytes B0, B1, G0, G1 of four pairs, nRed R0 and R1: 24 bytes of B, G, R a half.
void StoreBgr(std::uint8_t* pTarget, __m256i nBlueGreen, __m256i nRed)
{
    const __m256i nHead = _mm256_or_si256(
        _mm256_shuffle_epi8(nBlueGreen, Both(_mm_setr_epi8(0, 8, -1, 4, 12, -1, 1, 9, -1, 5, 13, -1, 2, 10, -1, 6))),
        _mm256_shuffle_epi8(nRed, Both(_mm_setr_epi8(-1, -1, 0, -1, -1, 4, -1, -1, 1, -1, -1, 5, -1, -1, 2, -1))));
    const __m256i nTail = _mm256_or_si256(
        _mm256_shuffle_epi8(nBlueGreen,
                            Both(_mm_setr_epi8(14, -1, 3, 11, -1, 7, 15, -1, -1, -1, -1, -1, -1, -1, -1, -1))),
        _mm256_shuffle_epi8(nRed, Both(_mm_setr_epi8(-1, 6, -1, -1, 3, -1, -1, 7, -1, -1, -1, -1, -1, -1, -1, -1))));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pTarget), _mm256_castsi256_si128(nHead));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(pTarget + 16), _mm256_castsi256_si128(nTail));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pTarget + 24), _mm256_extracti128_si256(nHead, 1));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(pTarget + 40), _mm256_extracti128_si256(nTail, 1));
}

void Yuy2BlockToBgr(std::uint8_t* pTarget, const std::uint8_t* pSource)
{
    const __m256i nPairs = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pSource));
    const __m256 f16 = _mm256_set1_ps(16.0F);
    const __m256 f128 = _mm256_set1_ps(128.0F);
    const __m256 fY0 = Times(_mm256_sub_ps(ToFloat(LowByte(nPairs)), f16), 1.164F);
    const __m256 fY1 = Times(_mm256_sub_ps(ToFloat(LowByte(_mm256_srli_epi32(nPairs, 16))), f16), 1.164F);
    const __m256 fU = _mm256_sub_ps(ToFloat(LowByte(_mm256_srli_epi32(nPairs, 8))), f128);
    const __m256 fV = _mm256_sub_ps(ToFloat(_mm256_srli_epi32(nPairs, 24)), f128);

    const __m256 fRedV = Times(fV, 1.596F);
    const __m256 fGreenV = Times(fV, 0.813F);
    const __m256 fGreenU = Times(fU, 0.392F);
    const __m256 fBlueU = Times(fU, 2.017F);
    const __m256i nRed = Pack(_mm256_add_ps(fRedV, fY0), _mm256_add_ps(fRedV, fY1));
    const __m256i nGreen =
        Pack(_mm256_sub_ps(_mm256_sub_ps(fY0, fGreenV), fGreenU), _mm256_sub_ps(_mm256_sub_ps(fY1, fGreenV), fGreenU));
    const __m256i nBlue = Pack(_mm256_add_ps(fBlueU, fY0), _mm256_add_ps(fBlueU, fY1));
    StoreBgr(pTarget, _mm256_packus_epi16(nBlue, nGreen), _mm256_packus_epi16(nRed, nRed));
}

// ---- B, G, R to YUY2 ----

// The pixels of one place in the pairs, one pixel in each 32 bits, as floats.
struct SPixels
{
    explicit SPixels(__m256 fPixels)
    {
        const __m256i nPixels = _mm256_castps_si256(fPixels);
        m_fB = ToFloat(LowByte(nPixels));
        m_fG = ToFloat(LowByte(_mm256_srli_epi32(nPixels, 8)));
        m_fR = ToFloat(_mm256_srli_epi32(nPixels, 16));
    }

    __m256 Y() const
    {
        const __m256 fSum = _mm256_add_ps(_mm256_add_ps(Times(m_fG, 0.504F), Times(m_fR, 0.257F)), Times(m_fB, 0.098F));
        return _mm256_add_ps(fSum, _mm256_set1_ps(16.0F));
    }

    __m256 U() const
    {
        const __m256 fSum =
            _mm256_add_ps(_mm256_sub_ps(Times(m_fR, -0.148F), Times(m_fG, 0.291F)), Times(m_fB, 0.439F));
        return _mm256_add_ps(fSum, _mm256_set1_ps(128.0F));
    }

    __m256 V() const
    {
        const __m256 fSum = _mm256_sub_ps(_mm256_sub_ps(Times(m_fR, 0.439F), Times(m_fG, 0.368F)), Times(m_fB, 0.071F));
        return _mm256_add_ps(fSum, _mm256_set1_ps(128.0F));
    }

    __m256 m_fB;
    __m256 m_fG;
    __m256 m_fR;
};

// Mean of the first pixel's value and the integer part of the second's. Every value is from 16 to 240, so no limit is
// needed, and the low 8 bits of the integer are the whole number.
__m256i Mean(__m256 fFirst, __m256 fSecond)
{
    const __m256 fWhole = _mm256_round_ps(fSecond, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
    return Truncate(Times(_mm256_add_ps(fWhole, fFirst), 0.5F));
}

void BgrBlockToYuy2(std::uint8_t* pTarget, const std::uint8_t* pSource)
{
    // Pixels 0 to 3 and 8 to 11, then 4 to 7 and 12 to 15, each widened to 32 bits with 0 on top. The last four are
    // loaded from 4 bytes before them, as no byte may be read after the block.
    const __m128i nFromFirst = _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    const __m128i nFromFifth = _mm_setr_epi8(4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
    const __m256i nLower = _mm256_shuffle_epi8(Load(pSource, pSource + 24), Both(nFromFirst));
    const __m256i nUpper =
        _mm256_shuffle_epi8(Load(pSource + 12, pSource + 32), _mm256_setr_m128i(nFromFirst, nFromFifth));

    const __m256 fLower = _mm256_castsi256_ps(nLower);
    const __m256 fUpper = _mm256_castsi256_ps(nUpper);
    const SPixels first(_mm256_shuffle_ps(fLower, fUpper, _MM_SHUFFLE(2, 0, 2, 0)));
    const SPixels second(_mm256_shuffle_ps(fLower, fUpper, _MM_SHUFFLE(3, 1, 3, 1)));

    const __m256i nU = _mm256_slli_epi32(Mean(first.U(), second.U()), 8);
    const __m256i nV = _mm256_slli_epi32(Mean(first.V(), second.V()), 24);
    const __m256i nY0 = Truncate(first.Y());
    const __m256i nY1 = _mm256_slli_epi32(Truncate(second.Y()), 16);
    const __m256i nPairs = _mm256_or_si256(_mm256_or_si256(nY0, nY1), _mm256_or_si256(nU, nV));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(pTarget), nPairs);
}

// ---- B, G, R to B, G, R, 255 ----

void BgrBlockToBgra(std::uint8_t* pTarget, const std::uint8_t* pSource)
{
    // The upper four pixels are loaded from 4 bytes before them, as no byte may be read after the block.
    const __m256i nOrder = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,  //
                                            4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
    const __m256i nAlpha = _mm256_set1_epi32(static_cast<int>(0xFF000000U));
    const __m256i nPixels = _mm256_shuffle_epi8(Load(pSource, pSource + 8), nOrder);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(pTarget), _mm256_or_si256(nPixels, nAlpha));
}
}  // namespace

void Yuy2ToBgrAvx2(std::uint8_t* pTarget, const std::uint8_t* pSource, std::size_t uiPairs)
{
    if (uiPairs < g_uiPairsPerBlock) return g_scalarColourKernels.m_pfnYuy2ToBgr(pTarget, pSource, uiPairs);
    const std::size_t uiLast = uiPairs - g_uiPairsPerBlock;
    for (std::size_t uiPair = 0; uiPair < uiLast; uiPair += g_uiPairsPerBlock)
    {
        Yuy2BlockToBgr(pTarget + uiPair * 6, pSource + uiPair * 4);
    }
    Yuy2BlockToBgr(pTarget + uiLast * 6, pSource + uiLast * 4);
}

void BgrToYuy2Avx2(std::uint8_t* pTarget, const std::uint8_t* pSource, std::size_t uiPairs)
{
    if (uiPairs < g_uiPairsPerBlock) return g_scalarColourKernels.m_pfnBgrToYuy2(pTarget, pSource, uiPairs);
    const std::size_t uiLast = uiPairs - g_uiPairsPerBlock;
    for (std::size_t uiPair = 0; uiPair < uiLast; uiPair += g_uiPairsPerBlock)
    {
        BgrBlockToYuy2(pTarget + uiPair * 4, pSource + uiPair * 6);
    }
    BgrBlockToYuy2(pTarget + uiLast * 4, pSource + uiLast * 6);
}

void BgrToBgraAvx2(std::uint8_t* pTarget, const std::uint8_t* pSource, std::size_t uiPixels)
{
    if (uiPixels < g_uiPixelsPerBlock) return g_scalarColourKernels.m_pfnBgrToBgra(pTarget, pSource, uiPixels);
    const std::size_t uiLast = uiPixels - g_uiPixelsPerBlock;
    for (std::size_t uiPixel = 0; uiPixel < uiLast; uiPixel += g_uiPixelsPerBlock)
    {
        BgrBlockToBgra(pTarget + uiPixel * 4, pSource + uiPixel * 3);
    }
    BgrBlockToBgra(pTarget + uiLast * 4, pSource + uiLast * 3);
}

const SColourKernels g_avx2ColourKernels = {FillLutPlaneAvx2, Yuy2ToBgrAvx2, BgrToYuy2Avx2, BgrToBgraAvx2};
