// The weights of the conversion as the integers that all its versions share.
#pragma once

namespace runtimes
{

// Scaled by 2^15 and from the range 0 to 255 of the source. Each set is rounded so that what must be exact is: black,
// white and every grey come out with the right Y, and a grey has no colour, since the three weights of Cb add up to
// nothing and so do those of Cr.
inline constexpr int c_nWeightShift = 15;

inline constexpr int c_nLumaB = 3208;
inline constexpr int c_nLumaG = 16520;
inline constexpr int c_nLumaR = 8414;

inline constexpr int c_nCbB = 14392;
inline constexpr int c_nCbG = -9535;
inline constexpr int c_nCbR = -4857;

inline constexpr int c_nCrB = -2340;
inline constexpr int c_nCrG = -12052;
inline constexpr int c_nCrR = 14392;

static_assert(c_nCbB + c_nCbG + c_nCbR == 0 && c_nCrB + c_nCrG + c_nCrR == 0);

// Offset and one half, so that a shift rounds. Chroma is weighed with the sum of four pixels: two bits more.
inline constexpr int c_nLumaBias = (16 << c_nWeightShift) + (1 << (c_nWeightShift - 1));
inline constexpr int c_nChromaShift = c_nWeightShift + 2;
inline constexpr int c_nChromaBias = (128 << c_nChromaShift) + (1 << (c_nChromaShift - 1));

}  // namespace runtimes
