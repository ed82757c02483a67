// Conversions between the host's 24-bit pictures and the formats of the video encoders and decoders.
//
// Host pictures are 8 bits per component, B, G, R in memory; YUY2 is Y0, U, Y1, V for each pair of pixels. Both
// directions use the studio-range coefficients of ITU-R BT.601 to three decimals, in 32-bit floating point. They are
// not inverses of each other bit for bit. The top row stays the top row: no conversion flips a picture.
//
// No conversion allocates or throws, and any number of threads may convert at once.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

struct SQmPicBuf;

// R, G, B for every triple (Y, U, V), at byte ((Y * 256 + U) * 256 + V) * 3. Zero until the first ConvertYuy2ToBgr.
inline constexpr std::size_t g_uiYuvToRgbLutSize = std::size_t{3} << 24;
extern std::uint8_t g_yuvToRgbLut[g_uiYuvToRgbLutSize];
// 1 when the table is complete. A thread that reads 1 with acquire order may read the whole table.
extern std::atomic<std::uint8_t> g_bYuvToRgbLutReady;

// Turns YUY2 into 24-bit colour, both pixels of a pair with the pair's unchanged chroma. target gives the size and must
// have 3 components. source's own size isn't used, only its pixels and pitch, which must hold whole pairs. The
// process's first call builds the table, and other calls at that time wait for it. It is built also where vector code
// doesn't use it, so the table is always there after a conversion.
//
// With an odd width the last pair's second pixel has no place in the picture: those of its bytes that are within
// target's pitch are written, and none after it.
//
// Does nothing when a picture has no pixels or a pitch is too short for a row.
void ConvertYuy2ToBgr(SQmPicBuf& target, const SQmPicBuf& source);

// Turns 24-bit colour into YUY2. source gives the size and must have 3 components; target must have 2, the same height
// and a pitch that holds a row.
//
// With an odd width the last pixel takes the place of its missing neighbour, and the bytes of the pair that are within
// target's pitch are written.
//
// Does nothing when a picture has no pixels, target has too few rows, or a pitch is too short for a row.
void ConvertBgrToYuy2(SQmPicBuf& target, const SQmPicBuf& source);

// Copies 24-bit rows into 32-bit ones: B, G, R, and 255 as the fourth byte, for the encoders' surfaces. Reads and
// writes whole pixels only, no padding between rows. Pitches are in bytes. Row y of the source is at the 32-bit product
// of y and its pitch.
void CopyBgrToBgra(void* pTarget, std::ptrdiff_t nTargetPitch, const void* pSource, std::uint32_t uiSourcePitch,
                   std::uint32_t uiWidth, std::uint32_t uiHeight);
