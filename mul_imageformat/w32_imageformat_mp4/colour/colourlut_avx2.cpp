// Fills the look-up table with AVX2. colourkernels_avx2.cpp states the rules for such files.
#include <immintrin.h>

#include "colour/colourkernels_avx2.h"

namespace
{
constexpr int g_nBlocks = 8;  // of 32 values of V each

__m256i Both(__m128i nLane)
{
    return _mm256_broadcastsi128_si256(nLane);
}

// 48 bytes for either half of a vector of 32 bytes, as three vectors.
struct STriple
{
    __m256i m_anPart[3];
};

// Byte i of either half goes to place 3 * i + nPhase of its 48 bytes; the other places become 0.
STriple Spread(__m256i nBytes, int nPhase)
{
    const __m256i anOrder[3][3] = {
        {Both(_mm_setr_epi8(0, -1, -1, 1, -1, -1, 2, -1, -1, 3, -1, -1, 4, -1, -1, 5)),
         Both(_mm_setr_epi8(-1, -1, 6, -1, -1, 7, -1, -1, 8, -1, -1, 9, -1, -1, 10, -1)),
         Both(_mm_setr_epi8(-1, 11, -1, -1, 12, -1, -1, 13, -1, -1, 14, -1, -1, 15, -1, -1))},
        {Both(_mm_setr_epi8(-1, 0, -1, -1, 1, -1, -1, 2, -1, -1, 3, -1, -1, 4, -1, -1)),
         Both(_mm_setr_epi8(5, -1, -1, 6, -1, -1, 7, -1, -1, 8, -1, -1, 9, -1, -1, 10)),
         Both(_mm_setr_epi8(-1, -1, 11, -1, -1, 12, -1, -1, 13, -1, -1, 14, -1, -1, 15, -1))},
        {Both(_mm_setr_epi8(-1, -1, 0, -1, -1, 1, -1, -1, 2, -1, -1, 3, -1, -1, 4, -1)),
         Both(_mm_setr_epi8(-1, 5, -1, -1, 6, -1, -1, 7, -1, -1, 8, -1, -1, 9, -1, -1)),
         Both(_mm_setr_epi8(10, -1, -1, 11, -1, -1, 12, -1, -1, 13, -1, -1, 14, -1, -1, 15))}};
    STriple triple;
    for (int nPart = 0; nPart < 3; ++nPart)
    {
        triple.m_anPart[nPart] = _mm256_shuffle_epi8(nBytes, anOrder[nPhase][nPart]);
    }
    return triple;
}

// Truncates four vectors of 8 and limits them to bytes. The packs work within halves: vector n must hold the values
// 4n to 4n + 3 of the block in its low half, and those 16 further on in its high half.
__m256i ToBytes(__m256 f0, __m256 f1, __m256 f2, __m256 f3)
{
    const __m256i nLow = _mm256_packs_epi32(_mm256_cvttps_epi32(f0), _mm256_cvttps_epi32(f1));
    const __m256i nHigh = _mm256_packs_epi32(_mm256_cvttps_epi32(f2), _mm256_cvttps_epi32(f3));
    return _mm256_packus_epi16(nLow, nHigh);
}

// The parts of one luma's entries that are the same for all U, by blocks of V.
struct SLumaRow
{
    STriple m_aRed[g_nBlocks];       // in its places, the others 0
    __m256 m_afGreen[g_nBlocks][4];  // before the U term is subtracted, in the order that ToBytes needs
};

void MakeLumaRow(SLumaRow& row, __m256 fY)
{
    for (int nBlock = 0; nBlock < g_nBlocks; ++nBlock)
    {
        __m256 afRed[4];
        for (int n = 0; n < 4; ++n)
        {
            const __m256i nFirst = _mm256_set1_epi32(nBlock * 32 + n * 4 - 128);
            const __m256i nV = _mm256_add_epi32(nFirst, _mm256_setr_epi32(0, 1, 2, 3, 16, 17, 18, 19));
            const __m256 fV = _mm256_cvtepi32_ps(nV);
            afRed[n] = _mm256_add_ps(_mm256_mul_ps(fV, _mm256_set1_ps(1.596F)), fY);
            row.m_afGreen[nBlock][n] = _mm256_sub_ps(fY, _mm256_mul_ps(fV, _mm256_set1_ps(0.813F)));
        }
        row.m_aRed[nBlock] = Spread(ToBytes(afRed[0], afRed[1], afRed[2], afRed[3]), 0);
    }
}

void StoreLow(std::uint8_t* pTarget, __m256i n)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pTarget), _mm256_castsi256_si128(n));
}

void StoreHigh(std::uint8_t* pTarget, __m256i n)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pTarget), _mm256_extracti128_si256(n, 1));
}
}  // namespace

void FillLutPlaneAvx2(std::uint8_t* pPlane, std::uint32_t uiLuma)
{
    const __m256 fY = _mm256_set1_ps((static_cast<float>(uiLuma) - 16.0F) * 1.164F);
    SLumaRow row;
    MakeLumaRow(row, fY);
    for (int nU = 0; nU < 256; ++nU)
    {
        const __m256 fU = _mm256_set1_ps(static_cast<float>(nU) - 128.0F);
        const __m256 fGreenTerm = _mm256_mul_ps(fU, _mm256_set1_ps(0.392F));
        const __m256 fBlue = _mm256_add_ps(_mm256_mul_ps(fU, _mm256_set1_ps(2.017F)), fY);
        const STriple blue = Spread(ToBytes(fBlue, fBlue, fBlue, fBlue), 2);
        for (int nBlock = 0; nBlock < g_nBlocks; ++nBlock)
        {
            const __m256* pGreen = row.m_afGreen[nBlock];
            const STriple green =
                Spread(ToBytes(_mm256_sub_ps(pGreen[0], fGreenTerm), _mm256_sub_ps(pGreen[1], fGreenTerm),
                               _mm256_sub_ps(pGreen[2], fGreenTerm), _mm256_sub_ps(pGreen[3], fGreenTerm)),
                       1);
            for (int nPart = 0; nPart < 3; ++nPart)
            {
                const __m256i nRedBlue = _mm256_or_si256(row.m_aRed[nBlock].m_anPart[nPart], blue.m_anPart[nPart]);
                const __m256i nEntries = _mm256_or_si256(nRedBlue, green.m_anPart[nPart]);
                StoreLow(pPlane + nPart * 16, nEntries);
                StoreHigh(pPlane + 48 + nPart * 16, nEntries);
            }
            pPlane += 96;
        }
    }
}
