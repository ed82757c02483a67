#include "parts/newindex.h"

#include <stdexcept>

#include "parts/boxwriter.h"
#include "parts/sampletables.h"
#include "parts/sequenceset.h"

namespace qmhost
{
namespace
{

constexpr std::uint32_t WHOLE = 0x00010000;  // 1 as a number with 16 bits of fraction

void WriteMatrix(BoxWriter& box)
{
    for (const std::uint32_t uiValue : {WHOLE, 0U, 0U, 0U, WHOLE, 0U, 0U, 0U, 0x40000000U})
        box.Word(uiValue);
}

// Version and flags, then creation and modification, which are left unknown.
void WriteVersionAndDates(BoxWriter& box, bool bLong, std::uint32_t uiFlags)
{
    box.Word((bLong ? 1U << 24 : 0U) | uiFlags);
    box.Duration(0, bLong);
    box.Duration(0, bLong);
}

void WriteMovieHeader(BoxWriter& box, std::uint64_t uiTicks)
{
    const bool bLong = uiTicks >> 32 != 0;
    box.Begin("mvhd");
    WriteVersionAndDates(box, bLong, 0);
    box.Word(TICKS_PER_SECOND);
    box.Duration(uiTicks, bLong);
    box.Word(WHOLE);   // rate
    box.Half(0x0100);  // volume
    box.Zeros(10);
    WriteMatrix(box);
    box.Zeros(24);
    box.Word(2);  // next track
    box.End();
}

void WriteTrackHeader(BoxWriter& box, std::uint64_t uiTicks, const SequenceSet& set)
{
    const bool bLong = uiTicks >> 32 != 0;
    box.Begin("tkhd");
    WriteVersionAndDates(box, bLong, 3);  // enabled, in the movie
    box.Word(1);                          // track
    box.Zeros(4);
    box.Duration(uiTicks, bLong);
    box.Zeros(16);
    WriteMatrix(box);
    box.Word(set.m_uiWidth << 16);
    box.Word(set.m_uiHeight << 16);
    box.End();
}

void WriteMediaHeader(BoxWriter& box, std::uint64_t uiTicks)
{
    const bool bLong = uiTicks >> 32 != 0;
    box.Begin("mdhd");
    WriteVersionAndDates(box, bLong, 0);
    box.Word(TICKS_PER_SECOND);
    box.Duration(uiTicks, bLong);
    box.Half(0x55C4);  // no language
    box.Half(0);
    box.End();
}

void WriteSets(BoxWriter& box, const std::vector<std::string>& vSets)
{
    for (const std::string& strSet : vSets)
    {
        box.Half(static_cast<std::uint16_t>(strSet.size()));
        box.Text(strSet);
    }
}

void WriteDecoderConfiguration(BoxWriter& box, const SplitPictures& pictures, const SequenceSet& set)
{
    box.Begin("avcC");
    box.Byte(1);                                              // version
    box.Text(pictures.m_vSequenceSets.front().substr(1, 3));  // profile, compatibility, level
    box.Byte(0xFF);                                           // lengths of NALs have 4 bytes
    box.Byte(static_cast<std::uint8_t>(0xE0 | pictures.m_vSequenceSets.size()));
    WriteSets(box, pictures.m_vSequenceSets);
    box.Byte(static_cast<std::uint8_t>(pictures.m_vPictureSets.size()));
    WriteSets(box, pictures.m_vPictureSets);
    if (set.HasSampleForm())
    {
        box.Byte(static_cast<std::uint8_t>(0xFC | set.m_uiChromaFormat));
        box.Byte(static_cast<std::uint8_t>(0xF8 | (set.m_uiLumaBits - 8)));
        box.Byte(static_cast<std::uint8_t>(0xF8 | (set.m_uiChromaBits - 8)));
        box.Byte(0);  // extensions of sequence sets
    }
    box.End();
}

void WriteDescription(BoxWriter& box, const SplitPictures& pictures, const SequenceSet& set)
{
    box.Begin("stsd");
    box.Word(0);
    box.Word(1);  // entries
    box.Begin("avc1");
    box.Zeros(6);
    box.Half(1);  // data reference
    box.Zeros(16);
    box.Half(static_cast<std::uint16_t>(set.m_uiWidth));
    box.Half(static_cast<std::uint16_t>(set.m_uiHeight));
    box.Word(0x00480000);  // 72 dpi
    box.Word(0x00480000);
    box.Zeros(4);
    box.Half(1);  // pictures in a sample
    box.Zeros(32);
    box.Half(24);  // bits of a pixel
    box.Half(0xFFFF);
    WriteDecoderConfiguration(box, pictures, set);
    box.Begin("pasp");
    box.Word(1);
    box.Word(1);
    box.End();
    box.End();
    box.End();
}

void WriteSampleTable(BoxWriter& box, const SplitPictures& pictures, const std::vector<std::uint32_t>& vDeltas,
                      const SequenceSet& set)
{
    box.Begin("stbl");
    WriteDescription(box, pictures, set);
    box.Begin("stts");
    WriteTimes(box, vDeltas);
    box.End();
    box.Begin("stss");
    box.Word(0);
    WriteNumbers(box, pictures.m_vKeys);
    box.End();
    box.Begin("stsc");
    box.Word(0);
    box.Word(1);  // entries
    box.Word(1);  // first chunk
    box.Word(static_cast<std::uint32_t>(pictures.m_vSizes.size()));
    box.Word(1);  // description
    box.End();
    box.Begin("stsz");
    box.Word(0);
    box.Word(0);  // sizes differ
    WriteNumbers(box, pictures.m_vSizes);
    box.End();
    box.Begin("stco");
    box.Word(0);
    box.Word(1);  // chunks
    box.Word(MEDIA_BEGIN);
    box.End();
    box.End();
}

}  // namespace

std::vector<unsigned char> MakeIndex(const SplitPictures& pictures, const std::vector<std::uint32_t>& vDeltas)
{
    const auto set = pictures.m_vSequenceSets.empty() || pictures.m_vPictureSets.empty()
                         ? std::nullopt
                         : ReadSequenceSet({reinterpret_cast<const unsigned char*>(pictures.m_vSequenceSets[0].data()),
                                            pictures.m_vSequenceSets[0].size()});
    if (!set) throw std::runtime_error("its pictures have no usable parameter sets");
    std::uint64_t uiTicks = 0;
    for (const std::uint32_t uiDelta : vDeltas)
        uiTicks += uiDelta;

    BoxWriter box;
    box.Begin("moov");
    WriteMovieHeader(box, uiTicks);
    box.Begin("trak");
    WriteTrackHeader(box, uiTicks, *set);
    box.Begin("mdia");
    WriteMediaHeader(box, uiTicks);
    box.Begin("hdlr");
    box.Zeros(8);
    box.Text("vide");
    box.Zeros(12);
    box.Text(std::string_view("VideoHandler\0", 13));
    box.End();
    box.Begin("minf");
    box.Begin("vmhd");
    box.Word(1);
    box.Zeros(8);
    box.End();
    box.Begin("dinf");
    box.Begin("dref");
    box.Word(0);
    box.Word(1);  // entries
    box.Begin("url ");
    box.Word(1);  // in this file
    box.End();
    box.End();
    box.End();
    WriteSampleTable(box, pictures, vDeltas, *set);
    box.End();
    box.End();
    box.End();
    box.End();
    return box.Take();
}

}  // namespace qmhost
