// What streams without compression say of themselves, as ffprobe and a reader of the tests see it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "annexb.h"
#include "nv12_bytes.h"
#include "runtimes/common/pcm_encoder.h"
#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/temporary_folder.h"

namespace
{

using namespace runtimes;
using namespace test_support;

StreamSettings Small()
{
    StreamSettings settings;
    settings.uiWidth = 70;
    settings.uiHeight = 46;
    return settings;
}

// Three pictures of grey.
Bytes Stream(const StreamSettings& settings)
{
    PcmEncoder encoder(settings);
    Nv12Bytes picture(settings.uiWidth, settings.uiHeight);
    std::fill(picture.bytes.begin(), picture.bytes.end(), std::uint8_t{128});
    Bytes stream;
    for (const PictureKind eKind : {PictureKind::Auto, PictureKind::Auto, PictureKind::Idr})
    {
        const Bytes packet = encoder.Encode(picture.View(), eKind, {})->bytes;
        stream.insert(stream.end(), packet.begin(), packet.end());
    }
    return stream;
}

// Values of the stream by ffprobe, a line each.
std::string Probe(const StreamSettings& settings, const std::string& strEntries)
{
    const TemporaryFolder dir;
    WriteBytes(dir / "in.h264", Stream(settings));
    return RunFfprobe("-of default=noprint_wrappers=1:nokey=1 -show_entries stream=" + strEntries + " " +
                          Quoted(dir / "in.h264"),
                      Complaints::Warnings);
}

std::string Types(const StreamSettings& settings)
{
    return annexb::Types(annexb::Split(Stream(settings)));
}

TEST(PcmHeaders, HighProfileWithoutReordering)
{
    EXPECT_EQ(Probe(Small(), "profile,width,height,has_b_frames,pix_fmt"), "High\n70\n46\n0\nyuv420p\n");
}

TEST(PcmHeaders, ParameterSetsStandBeforeEveryIdrPictureUnlessAskedOtherwise)
{
    StreamSettings settings = Small();
    EXPECT_EQ(Types(settings), "7 8 5 1 7 8 5");
    settings.headers.bAgain = false;
    EXPECT_EQ(Types(settings), "7 8 5 1 5");
    settings.headers = {false, true};
    EXPECT_EQ(Types(settings), "5 1 7 8 5");
    settings.headers.bAgain = false;
    EXPECT_EQ(Types(settings), "5 1 5");
}

TEST(PcmHeaders, ParameterSetsStandBeforeAPictureThatIsWantedWithThem)
{
    StreamSettings settings = Small();
    PcmEncoder encoder(settings);
    Nv12Bytes picture(settings.uiWidth, settings.uiHeight);
    EXPECT_TRUE(encoder.Encode(picture.View(), PictureKind::Auto, {}).has_value());
    PictureInfo info;
    info.bWithHeaders = true;
    const Bytes packet = encoder.Encode(picture.View(), PictureKind::P, info)->bytes;
    EXPECT_EQ(annexb::Types(annexb::Split(packet)), "7 8 1");
    EXPECT_TRUE(std::equal(encoder.Headers().begin(), encoder.Headers().end(), packet.begin()));
}

TEST(PcmHeaders, DelimitersSayThatThereAreIntraSlices)
{
    StreamSettings settings = Small();
    settings.bDelimiters = true;
    EXPECT_EQ(Types(settings), "9 7 8 5 9 1 9 7 8 5");
    for (const annexb::Nal& nal : annexb::Split(Stream(settings)))
    {
        if (nal.nType == annexb::Delimiter)
        {
            EXPECT_EQ(nal.unit, (Bytes{0x09, 0x10}));
        }
    }
}

TEST(PcmHeaders, StartCodesHaveFourBytesAndSlicesAreIntra)
{
    for (const annexb::Nal& nal : annexb::Split(Stream(Small())))
    {
        EXPECT_EQ(nal.uiStartCode, 4u);
        EXPECT_NE(nal.nRefIdc, 0);
        if (nal.nType == annexb::Slice || nal.nType == annexb::IdrSlice)
        {
            EXPECT_EQ(annexb::ReadSliceHeader(nal).eKind, annexb::SliceKind::I);
        }
    }
}

TEST(PcmHeaders, ParameterSetsHaveTheNumberThatIsAskedFor)
{
    StreamSettings settings = Small();
    settings.uiParameterSetId = 31;
    EXPECT_EQ(annexb::ReadSequenceHeader(annexb::Split(Stream(settings)).front()).nId, 31);
    // Slices and picture parameters ask for that number: ffprobe finds the size by it.
    EXPECT_EQ(Probe(settings, "width,height"), "70\n46\n");
}

struct LevelCase
{
    std::uint32_t uiWidth;
    std::uint32_t uiHeight;
    std::uint32_t uiRate;
    std::uint32_t uiLevel;
};

// By the bounds of the standard, for pictures of 579 bytes a macroblock and 64 more: 386, and half of that to keep
// start codes out. A bound that decides is named.
constexpr LevelCase c_levelCases[] = {
    {16, 16, 1, 10},      {16, 16, 30, 9},  // 154320 bits a second, of 80000 in level 1 and 160000 in 1b
    {64, 48, 30, 20},                       // 1.7 Mbit a second, of 0.96 in 1.3 and 2.5 in 2
    {640, 480, 30, 51},                     // the first picture has twice 694864 bytes, of 384 * 589824 / 172 in 5
    {1920, 1080, 25, 62},                   // 945 Mbit a second, of 600 in 6.1 and 1000 in 6.2
    {4096, 4096, 30, 62},                   // more than any level has
};

TEST(PcmHeaders, TheLevelIsTheLowestThatAdmitsEveryPicture)
{
    for (const LevelCase& levelCase : c_levelCases)
    {
        StreamSettings settings;
        settings.uiWidth = levelCase.uiWidth;
        settings.uiHeight = levelCase.uiHeight;
        settings.uiFrameRateNum = levelCase.uiRate;
        EXPECT_EQ(Probe(settings, "level"), std::to_string(levelCase.uiLevel) + "\n")
            << levelCase.uiWidth << "x" << levelCase.uiHeight << " at " << levelCase.uiRate;
    }
}

TEST(PcmHeaders, ALevelThatIsAskedForStandsInTheStream)
{
    StreamSettings settings = Small();
    settings.uiLevel = 31;
    EXPECT_EQ(Probe(settings, "level"), "31\n");
}

TEST(PcmHeaders, ThePictureRateIsTheClockOfTheHeader)
{
    StreamSettings settings = Small();
    settings.uiFrameRateNum = 60000;
    settings.uiFrameRateDen = 2002;
    const annexb::SequenceHeader header = annexb::ReadSequenceHeader(annexb::Split(Stream(settings)).front());
    EXPECT_TRUE(header.bTiming);
    EXPECT_EQ(header.uiUnitsInTick, 1001u);
    EXPECT_EQ(header.uiTimeScale, 60000u);  // ticks of half a picture
    // In FFmpeg's time base for this rate, 1/1200000 s. The rate that it reports of a bare stream is that of pictures
    // in some releases and that of ticks in others.
    const TemporaryFolder dir;
    WriteBytes(dir / "in.h264", Stream(settings));
    const std::vector<std::int64_t> vDurations = PacketValues(dir / "in.h264", "duration");
    EXPECT_FALSE(vDurations.empty());
    EXPECT_THAT(vDurations, testing::Each(40040));

    // Twice this number has more than 32 bits.
    settings.uiFrameRateNum = 4294967295;
    settings.uiFrameRateDen = 1;
    EXPECT_FALSE(annexb::ReadSequenceHeader(annexb::Split(Stream(settings)).front()).bTiming);
}

TEST(PcmHeaders, WhatIsSaidOfDisplayIsInTheHeader)
{
    StreamSettings settings = Small();
    const std::string strEntries = "sample_aspect_ratio,color_range,color_space,color_transfer,color_primaries,"
                                   "chroma_location";
    EXPECT_EQ(Probe(settings, strEntries), "N/A\nunknown\nunknown\nunknown\nunknown\nleft\n");

    settings.display.ui64SampleWidth = 8;
    settings.display.ui64SampleHeight = 6;
    settings.display.isOverscanCropped = true;
    settings.display.signal = {1, false};
    settings.display.colours = {6, 1, 5};
    settings.display.chromaLocation = 2;
    EXPECT_EQ(Probe(settings, strEntries), "4:3\ntv\nbt470bg\nbt709\nsmpte170m\ntopleft\n");

    // Colours alone make the signal's type stand there too.
    settings.display.signal.reset();
    EXPECT_EQ(Probe(settings, "color_space,color_transfer,color_primaries"), "bt470bg\nbt709\nsmpte170m\n");
}

TEST(PcmHeaders, TheShapeOfASampleFitsItsBits)
{
    StreamSettings settings = Small();
    settings.display.ui64SampleWidth = 65535ull * 4096;
    settings.display.ui64SampleHeight = 1;
    const annexb::SequenceHeader wide = annexb::ReadSequenceHeader(annexb::Split(Stream(settings)).front());
    EXPECT_EQ(wide.uiSarWidth, 65535u);
    EXPECT_EQ(wide.uiSarHeight, 1u);
}

TEST(PcmHeaders, WhatIsNoPictureIsRefused)
{
    const auto isRefused = [](std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiNum, std::uint32_t uiDen) {
        StreamSettings settings;
        settings.uiWidth = uiWidth;
        settings.uiHeight = uiHeight;
        settings.uiFrameRateNum = uiNum;
        settings.uiFrameRateDen = uiDen;
        try
        {
            PcmEncoder encoder(settings);
            return false;
        }
        catch (const EncoderError&)
        {
            return true;
        }
    };
    EXPECT_TRUE(isRefused(0, 16, 25, 1));
    EXPECT_TRUE(isRefused(16, 0, 25, 1));
    EXPECT_TRUE(isRefused(17, 16, 25, 1));
    EXPECT_TRUE(isRefused(16, 17, 25, 1));
    EXPECT_TRUE(isRefused(16, 16, 0, 1));
    EXPECT_TRUE(isRefused(16, 16, 25, 0));
    EXPECT_FALSE(isRefused(16, 16, 25, 1));
}

}  // namespace
