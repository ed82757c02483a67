// Eight pixels of two rows at a time.
#include <emmintrin.h>

#include "runtimes/common/colour.h"
#include "runtimes/common/colour_weights.h"

namespace runtimes
{
namespace
{

__m128i Load(const std::uint8_t* p)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// Weights for two pixels of B, G, R, A as 16-bit numbers.
__m128i Weights(int nB, int nG, int nR)
{
    const auto b = static_cast<short>(nB);
    const auto g = static_cast<short>(nG);
    const auto r = static_cast<short>(nR);
    return _mm_setr_epi16(b, g, r, 0, b, g, r, 0);
}

// _mm_madd_epi16 leaves each sum in two parts, B with G and R with A, side by side. Adds them up: the two sums of the
// first argument, then those of the second.
__m128i AddParts(__m128i first, __m128i second)
{
    const __m128 a = _mm_castsi128_ps(first);
    const __m128 b = _mm_castsi128_ps(second);
    return _mm_add_epi32(_mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0))),
                         _mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1))));
}

// Four pixels of two rows, as 16-bit numbers: the left two and the right two.
struct FourPixels
{
    __m128i upperLeft;
    __m128i upperRight;
    __m128i lowerLeft;
    __m128i lowerRight;
};

FourPixels LoadFour(const std::uint8_t* pUpper, const std::uint8_t* pLower)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i upper = Load(pUpper);
    const __m128i lower = Load(pLower);
    return {_mm_unpacklo_epi8(upper, zero), _mm_unpackhi_epi8(upper, zero), _mm_unpacklo_epi8(lower, zero),
            _mm_unpackhi_epi8(lower, zero)};
}

// Four Y as 32-bit numbers.
__m128i Luma(__m128i left, __m128i right)
{
    const __m128i weights = Weights(c_nLumaB, c_nLumaG, c_nLumaR);
    const __m128i sums = AddParts(_mm_madd_epi16(left, weights), _mm_madd_epi16(right, weights));
    return _mm_srai_epi32(_mm_add_epi32(sums, _mm_set1_epi32(c_nLumaBias)), c_nWeightShift);
}

// Cb, Cr, Cb, Cr as 32-bit numbers.
__m128i Chroma(const FourPixels& pixels)
{
    const __m128i left = _mm_add_epi16(pixels.upperLeft, pixels.lowerLeft);
    const __m128i right = _mm_add_epi16(pixels.upperRight, pixels.lowerRight);
    const __m128i blocks = _mm_add_epi16(_mm_unpacklo_epi64(left, right), _mm_unpackhi_epi64(left, right));
    const __m128i sums = AddParts(_mm_madd_epi16(blocks, Weights(c_nCbB, c_nCbG, c_nCbR)),
                                  _mm_madd_epi16(blocks, Weights(c_nCrB, c_nCrG, c_nCrR)));
    const __m128i rounded = _mm_srai_epi32(_mm_add_epi32(sums, _mm_set1_epi32(c_nChromaBias)), c_nChromaShift);
    return _mm_shuffle_epi32(rounded, _MM_SHUFFLE(3, 1, 2, 0));
}

void StoreEight(std::uint8_t* pTarget, __m128i first, __m128i second)
{
    const __m128i words = _mm_packs_epi32(first, second);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(pTarget), _mm_packus_epi16(words, words));
}

}  // namespace

void ConvertRowPairSse2(const std::uint8_t* pUpper, const std::uint8_t* pLower, std::uint8_t* pUpperLuma,
                        std::uint8_t* pLowerLuma, std::uint8_t* pChroma, std::uint32_t uiWidth)
{
    std::uint32_t x = 0;
    for (; x + 8 <= uiWidth; x += 8)
    {
        const std::size_t uiOffset = 4 * std::size_t{x};
        const FourPixels first = LoadFour(pUpper + uiOffset, pLower + uiOffset);
        const FourPixels second = LoadFour(pUpper + uiOffset + 16, pLower + uiOffset + 16);
        StoreEight(pUpperLuma + x, Luma(first.upperLeft, first.upperRight), Luma(second.upperLeft, second.upperRight));
        StoreEight(pLowerLuma + x, Luma(first.lowerLeft, first.lowerRight), Luma(second.lowerLeft, second.lowerRight));
        StoreEight(pChroma + x, Chroma(first), Chroma(second));
    }
    const std::size_t uiOffset = 4 * std::size_t{x};
    ConvertRowPairScalar(pUpper + uiOffset, pLower + uiOffset, pUpperLuma + x, pLowerLuma + x, pChroma + x,
                         uiWidth - x);
}

}  // namespace runtimes
