// Sixteen pixels of two rows at a time. The steps are those of colour_sse2.cpp, on both halves of a register; what
// packing leaves in turns of halves is put in order once at the end.
//
// Compiled for AVX2: it must hold nothing that another processor might run.
#include <immintrin.h>

#include "runtimes/common/colour.h"
#include "runtimes/common/colour_weights.h"

namespace runtimes
{
namespace
{

__m256i Load(const std::uint8_t* p)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

__m256i Weights(int nB, int nG, int nR)
{
    const auto b = static_cast<short>(nB);
    const auto g = static_cast<short>(nG);
    const auto r = static_cast<short>(nR);
    return _mm256_setr_epi16(b, g, r, 0, b, g, r, 0, b, g, r, 0, b, g, r, 0);
}

__m256i AddParts(__m256i first, __m256i second)
{
    const __m256 a = _mm256_castsi256_ps(first);
    const __m256 b = _mm256_castsi256_ps(second);
    return _mm256_add_epi32(_mm256_castps_si256(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0))),
                            _mm256_castps_si256(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1))));
}

struct EightPixels
{
    __m256i upperLeft;
    __m256i upperRight;
    __m256i lowerLeft;
    __m256i lowerRight;
};

EightPixels LoadEight(const std::uint8_t* pUpper, const std::uint8_t* pLower)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i upper = Load(pUpper);
    const __m256i lower = Load(pLower);
    return {_mm256_unpacklo_epi8(upper, zero), _mm256_unpackhi_epi8(upper, zero), _mm256_unpacklo_epi8(lower, zero),
            _mm256_unpackhi_epi8(lower, zero)};
}

__m256i Luma(__m256i left, __m256i right)
{
    const __m256i weights = Weights(c_nLumaB, c_nLumaG, c_nLumaR);
    const __m256i sums = AddParts(_mm256_madd_epi16(left, weights), _mm256_madd_epi16(right, weights));
    return _mm256_srai_epi32(_mm256_add_epi32(sums, _mm256_set1_epi32(c_nLumaBias)), c_nWeightShift);
}

__m256i Chroma(const EightPixels& pixels)
{
    const __m256i left = _mm256_add_epi16(pixels.upperLeft, pixels.lowerLeft);
    const __m256i right = _mm256_add_epi16(pixels.upperRight, pixels.lowerRight);
    const __m256i blocks = _mm256_add_epi16(_mm256_unpacklo_epi64(left, right), _mm256_unpackhi_epi64(left, right));
    const __m256i sums = AddParts(_mm256_madd_epi16(blocks, Weights(c_nCbB, c_nCbG, c_nCbR)),
                                  _mm256_madd_epi16(blocks, Weights(c_nCrB, c_nCrG, c_nCrR)));
    const __m256i rounded = _mm256_srai_epi32(_mm256_add_epi32(sums, _mm256_set1_epi32(c_nChromaBias)), c_nChromaShift);
    return _mm256_shuffle_epi32(rounded, _MM_SHUFFLE(3, 1, 2, 0));
}

// The 16-bit numbers of two registers as bytes: those of the first in the low half, of the second in the high half.
__m256i PackBytes(__m256i firstA, __m256i firstB, __m256i secondA, __m256i secondB)
{
    const __m256i first = _mm256_permute4x64_epi64(_mm256_packs_epi32(firstA, firstB), _MM_SHUFFLE(3, 1, 2, 0));
    const __m256i second = _mm256_permute4x64_epi64(_mm256_packs_epi32(secondA, secondB), _MM_SHUFFLE(3, 1, 2, 0));
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), _MM_SHUFFLE(3, 1, 2, 0));
}

void Store(std::uint8_t* pTarget, __m128i bytes)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pTarget), bytes);
}

}  // namespace

void ConvertRowPairAvx2(const std::uint8_t* pUpper, const std::uint8_t* pLower, std::uint8_t* pUpperLuma,
                        std::uint8_t* pLowerLuma, std::uint8_t* pChroma, std::uint32_t uiWidth)
{
    std::uint32_t x = 0;
    for (; x + 16 <= uiWidth; x += 16)
    {
        const std::size_t uiOffset = 4 * std::size_t{x};
        const EightPixels first = LoadEight(pUpper + uiOffset, pLower + uiOffset);
        const EightPixels second = LoadEight(pUpper + uiOffset + 32, pLower + uiOffset + 32);
        const __m256i luma =
            PackBytes(Luma(first.upperLeft, first.upperRight), Luma(second.upperLeft, second.upperRight),
                      Luma(first.lowerLeft, first.lowerRight), Luma(second.lowerLeft, second.lowerRight));
        const __m256i firstChroma = Chroma(first);
        const __m256i secondChroma = Chroma(second);
        Store(pUpperLuma + x, _mm256_castsi256_si128(luma));
        Store(pLowerLuma + x, _mm256_extracti128_si256(luma, 1));
        Store(pChroma + x, _mm256_castsi256_si128(PackBytes(firstChroma, secondChroma, firstChroma, secondChroma)));
    }
    const std::size_t uiOffset = 4 * std::size_t{x};
    ConvertRowPairSse2(pUpper + uiOffset, pLower + uiOffset, pUpperLuma + x, pLowerLuma + x, pChroma + x, uiWidth - x);
}

}  // namespace runtimes
