#include "platform/mediafoundation/reading/yuy2_rows.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace mediafoundation
{

void InterleaveYuy2Plain(std::uint8_t* pTarget, const std::uint8_t* pY, const std::uint8_t* pU, const std::uint8_t* pV,
                         std::size_t uiWidth)
{
    for (std::size_t x = 0; x < uiWidth; x += 2)
    {
        pTarget[0] = pY[x];
        pTarget[1] = pU[x / 2];
        pTarget[2] = pY[x + 1 < uiWidth ? x + 1 : x];
        pTarget[3] = pV[x / 2];
        pTarget += 4;
    }
}

void InterleaveYuy2(std::uint8_t* pTarget, const std::uint8_t* pY, const std::uint8_t* pU, const std::uint8_t* pV,
                    std::size_t uiWidth)
{
    std::size_t x = 0;
#if defined(__SSE2__)
    for (; x + 16 <= uiWidth; x += 16)
    {
        const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pY + x));
        const __m128i u = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pU + x / 2));
        const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pV + x / 2));
        const __m128i uv = _mm_unpacklo_epi8(u, v);
        auto* pOut = reinterpret_cast<__m128i*>(pTarget + 2 * x);
        _mm_storeu_si128(pOut, _mm_unpacklo_epi8(y, uv));
        _mm_storeu_si128(pOut + 1, _mm_unpackhi_epi8(y, uv));
    }
#endif
    InterleaveYuy2Plain(pTarget + 2 * x, pY + x, pU + x / 2, pV + x / 2, uiWidth - x);
}

}  // namespace mediafoundation
