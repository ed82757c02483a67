#include "mp4_outputfile/muxer/moovbox.h"

#include <algorithm>
#include <cstddef>

#include "common/bigendian.h"
#include "mp4_outputfile/muxer/avcconfiguration.h"
#include "mp4_outputfile/muxer/growingbox.h"
#include "mp4_outputfile/muxer/targetfile.h"

namespace
{
constexpr std::uint32_t g_uiTimescale = 10000;  // ticks in a second
constexpr std::uint32_t g_uiOneFrameDelta = 10;

// Toward zero to 64 bits, of which the low 32 are kept. What 64 bits can't hold, or is no number, becomes 0.
std::uint32_t Truncate(double dValue)
{
    constexpr double dLimit = 9223372036854775808.0;  // 2^63
    if (!(dValue >= -dLimit && dValue < dLimit)) return 0;
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(dValue));
}

std::uint32_t ToTicks(double dMilliseconds)
{
    return Truncate(dMilliseconds * 10000.0 / 1000.0);
}

// How long the last frame lasts isn't known; it takes the distance before it. What is cut off one delta isn't added to
// the next; times that run backwards give negative deltas.
std::uint32_t SampleDelta(const CGrowingArray<double>& times, std::size_t uiSample)
{
    if (times.size() == 1) return g_uiOneFrameDelta;
    const std::size_t uiFrom = std::min(uiSample, times.size() - 2);
    return ToTicks(times[uiFrom + 1] - times[uiFrom]);
}

// Appends uiCount entries of nFields numbers each, in pieces: a long file's tables would double its memory otherwise.
template <std::size_t nFields, class Entry>
void AppendTable(CGrowingBox& box, std::size_t uiCount, Entry entry)
{
    std::uint8_t abPiece[4 * nFields * 256];
    std::size_t uiFilled = 0;
    for (std::size_t uiEntry = 0; uiEntry < uiCount; ++uiEntry)
    {
        for (std::size_t uiField = 0; uiField < nFields; ++uiField)
        {
            StoreBigEndian32(abPiece + uiFilled, entry(uiEntry, uiField));
            uiFilled += 4;
        }
        if (uiFilled == sizeof abPiece)
        {
            box.Append(abPiece, uiFilled);
            uiFilled = 0;
        }
    }
    box.Append(abPiece, uiFilled);
}

void AppendMatrix(CGrowingBox& box)
{
    for (const std::uint32_t uiValue : {0x00010000U, 0U, 0U, 0U, 0x00010000U, 0U, 0U, 0U, 0x40000000U})
    {
        box.Append32(uiValue);
    }
}

void AppendMvhd(CGrowingBox& box, const SMovie& movie)
{
    box.AppendHead(108, "mvhd");
    box.Append32(0);  // version and flags
    box.Append32(0);  // creation time
    box.Append32(0);  // modification time
    box.Append32(g_uiTimescale);
    box.Append32(ToTicks(movie.LastTime()));
    box.Append32(0x00010000);  // rate 1
    box.Append16(0x0100);      // volume 1
    box.AppendZeros(10);
    AppendMatrix(box);
    box.AppendZeros(24);
    box.Append32(2);  // next track id
}

// The three durations below `mvhd` are milliseconds, although their timescale is that of `mvhd` and they say a tenth of
// what it says. Files have always been written so, and readers of them take their times from `stts`.
std::uint32_t TrackDuration(const SMovie& movie)
{
    return Truncate(movie.LastTime());
}

void AppendTkhd(CGrowingBox& box, const SMovie& movie)
{
    box.AppendHead(92, "tkhd");
    box.Append32(3);  // enabled, in movie
    box.Append32(0);  // creation time
    box.Append32(0);  // modification time
    box.Append32(1);  // track id
    box.AppendZeros(4);
    box.Append32(TrackDuration(movie));
    box.AppendZeros(16);  // reserved, layer, alternate group, volume, reserved
    AppendMatrix(box);
    box.Append32(std::uint32_t{movie.m_uiWidth} << 16);
    box.Append32(std::uint32_t{movie.m_uiHeight} << 16);
}

void AppendEdts(CGrowingBox& box, const SMovie& movie)
{
    box.AppendHead(36, "edts");
    box.AppendHead(28, "elst");
    box.Append32(0);  // version and flags
    box.Append32(1);  // entries
    box.Append32(TrackDuration(movie));
    box.Append32(0);           // media time
    box.Append32(0x00010000);  // rate 1
}

void AppendMdhd(CGrowingBox& box, const SMovie& movie)
{
    box.AppendHead(32, "mdhd");
    box.Append32(0);  // version and flags
    box.Append32(0);  // creation time
    box.Append32(0);  // modification time
    box.Append32(g_uiTimescale);
    box.Append32(TrackDuration(movie));
    box.Append16(0x55C4);  // "und"
    box.Append16(0);
}

void AppendHdlr(CGrowingBox& box)
{
    box.AppendHead(45, "hdlr");
    box.Append32(0);  // version and flags
    box.Append32(0);
    box.Append("vide", 4);
    box.AppendZeros(12);
    box.Append("VideoHandler", 13);  // with its nul
}

void AppendVmhd(CGrowingBox& box)
{
    box.AppendHead(20, "vmhd");
    box.Append32(1);     // version and flags
    box.AppendZeros(8);  // graphics mode and colour
}

void AppendDinf(CGrowingBox& box)
{
    box.AppendHead(36, "dinf");
    box.AppendHead(28, "dref");
    box.Append32(0);  // version and flags
    box.Append32(1);  // entries
    box.AppendHead(12, "url ");
    box.Append32(1);  // the data are in this file
}

void AppendStsd(CGrowingBox& box, const SMovie& movie)
{
    const std::size_t uiStsd = box.Open("stsd");
    box.Append32(0);  // version and flags
    box.Append32(1);  // entries
    const std::size_t uiAvc1 = box.Open("avc1");
    box.AppendZeros(6);
    box.Append16(1);      // data reference
    box.AppendZeros(16);  // pre-defined and reserved
    box.Append16(movie.m_uiWidth);
    box.Append16(movie.m_uiHeight);
    box.Append32(0x00480000);  // 72 dpi
    box.Append32(0x00480000);
    box.AppendZeros(4);
    box.Append16(1);       // frames in a sample
    box.AppendZeros(32);   // compressor name
    box.Append16(0x0018);  // depth
    box.Append16(0xFFFF);
    AppendAvcConfiguration(box, movie.m_baFirstPacket, movie.m_eLayout, movie.m_uiPpsOffset);
    box.AppendHead(16, "pasp");
    box.Append32(1);
    box.Append32(1);
    box.Close(uiAvc1);
    box.Close(uiStsd);
}

// One entry for each sample; equal deltas are not put together.
void AppendStts(CGrowingBox& box, const SMovie& movie)
{
    box.AppendHead(16 + 8 * movie.FrameCount(), "stts");
    box.Append32(0);  // version and flags
    box.Append32(movie.FrameCount());
    AppendTable<2>(box, movie.m_vecTimes.size(), [&movie](std::size_t uiSample, std::size_t uiField) {
        return uiField == 0 ? 1 : SampleDelta(movie.m_vecTimes, uiSample);
    });
}

// How many, then the numbers.
void AppendNumbers(CGrowingBox& box, const CGrowingArray<std::uint32_t>& numbers)
{
    box.Append32(static_cast<std::uint32_t>(numbers.size()));
    AppendTable<1>(box, numbers.size(), [&numbers](std::size_t ui, std::size_t) { return numbers[ui]; });
}

void AppendStss(CGrowingBox& box, const SMovie& movie)
{
    box.AppendHead(16 + 4 * static_cast<std::uint32_t>(movie.m_vecKeySamples.size()), "stss");
    box.Append32(0);  // version and flags
    AppendNumbers(box, movie.m_vecKeySamples);
}

void AppendStsc(CGrowingBox& box, const SMovie& movie)
{
    box.AppendHead(28, "stsc");
    box.Append32(0);  // version and flags
    box.Append32(1);  // entries
    box.Append32(1);  // first chunk
    box.Append32(movie.FrameCount());
    box.Append32(1);  // sample description
}

void AppendStsz(CGrowingBox& box, const SMovie& movie)
{
    box.AppendHead(20 + 4 * static_cast<std::uint32_t>(movie.m_vecSizes.size()), "stsz");
    box.Append32(0);  // version and flags
    box.Append32(0);  // sizes differ
    AppendNumbers(box, movie.m_vecSizes);
}

void AppendStco(CGrowingBox& box)
{
    box.AppendHead(20, "stco");
    box.Append32(0);  // version and flags
    box.Append32(1);  // entries
    box.Append32(g_uiMdatPayloadOffset);
}
}  // namespace

bool WriteMoovBox(CTargetFile& file, const SMovie& movie)
{
    CGrowingBox box;
    const std::size_t uiMoov = box.Open("moov");
    AppendMvhd(box, movie);
    const std::size_t uiTrak = box.Open("trak");
    AppendTkhd(box, movie);
    AppendEdts(box, movie);
    const std::size_t uiMdia = box.Open("mdia");
    AppendMdhd(box, movie);
    AppendHdlr(box);
    const std::size_t uiMinf = box.Open("minf");
    AppendVmhd(box);
    AppendDinf(box);
    const std::size_t uiStbl = box.Open("stbl");
    AppendStsd(box, movie);
    AppendStts(box, movie);
    AppendStss(box, movie);
    AppendStsc(box, movie);
    AppendStsz(box, movie);
    AppendStco(box);
    box.Close(uiStbl);
    box.Close(uiMinf);
    box.Close(uiMdia);
    box.Close(uiTrak);
    box.Close(uiMoov);
    return !box.Failed() && file.Write(box.Data(), box.Size());
}
