// `moov`, byte for byte and case by case.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "mp4_outputfile/muxer/moovbox.h"
#include "mp4_outputfile/muxer/mp4filewriter.h"
#include "muxing.h"
#include "support/muxed_file.h"

namespace
{
// The arguments of one `moov`, at first those of the example of which every byte is known.
struct SArguments
{
    std::vector<double> m_times = {0.0, 33.4, 66.7, 100.05};
    std::vector<std::uint32_t> m_sizes = {5000, 1000, 1000, 1000};
    std::uint16_t m_uiWidth = 1920;
    std::uint16_t m_uiHeight = 1080;
    Bytes m_vFirstPacket = Join({{0, 0, 0, 12},
                                 {0x67, 0x64, 0x00, 0x1F, 0xAC, 0x2B, 0x40, 0x28, 0x02, 0xDD, 0x80, 0x88},
                                 {0, 0, 0, 4},
                                 {0x68, 0xEE, 0x3C, 0xB0},
                                 {0, 0, 0x13, 0x68},
                                 Nal(0x65, 4968)});
    EPacketLayout m_eLayout = EPacketLayout::Nvenc;
    std::vector<std::uint32_t> m_keySamples = {1, 3};
    std::uint32_t m_uiPpsOffset = 16;
};

Bytes MoovOf(const SArguments& arguments)
{
    const CGrowingArray<double> times = ToGrowingArray(arguments.m_times);
    const CGrowingArray<std::uint32_t> sizes = ToGrowingArray(arguments.m_sizes);
    const CGrowingArray<std::uint32_t> keySamples = ToGrowingArray(arguments.m_keySamples);
    const CQmByteArray baFirstPacket = ToByteArray(arguments.m_vFirstPacket);
    const TemporaryFile file;
    CTargetFile target;
    target.Open(WidePath(file));
    EXPECT_TRUE(WriteMoovBox(target, {times, sizes, keySamples, arguments.m_uiWidth, arguments.m_uiHeight,
                                      baFirstPacket, arguments.m_eLayout, arguments.m_uiPpsOffset}));
    target.Close();
    return file.Bytes();
}

SMuxedMoov ReadMoovOf(const SArguments& arguments)
{
    return ReadMoov(MoovOf(arguments));
}

SMuxedMoov MoovWithTimes(const std::vector<double>& times)
{
    SArguments arguments;
    arguments.m_times = times;
    arguments.m_sizes.assign(times.size(), 100);
    return ReadMoovOf(arguments);
}

void ExpectDurations(const SMuxedMoov& moov, std::uint32_t uiTicks, std::uint32_t uiMilliseconds)
{
    EXPECT_EQ(moov.m_uiMovieDuration, uiTicks);
    EXPECT_EQ(moov.m_uiTrackDuration, uiMilliseconds);
    EXPECT_EQ(moov.m_uiEditDuration, uiMilliseconds);
    EXPECT_EQ(moov.m_uiMediaDuration, uiMilliseconds);
}

using Numbers = std::vector<std::uint32_t>;

// clang-format off
const Bytes g_vExample = {
    0x00, 0x00, 0x02, 0xCF, 'm', 'o', 'o', 'v',  // 719 bytes

    0x00, 0x00, 0x00, 0x6C, 'm', 'v', 'h', 'd',  // 108 bytes
    0x00, 0x00, 0x00, 0x00,                      // version and flags
    0x00, 0x00, 0x00, 0x00,                      // creation time
    0x00, 0x00, 0x00, 0x00,                      // modification time
    0x00, 0x00, 0x27, 0x10,                      // timescale 10000
    0x00, 0x00, 0x03, 0xE8,                      // duration 1000 ticks
    0x00, 0x01, 0x00, 0x00,                      // rate
    0x01, 0x00,                                  // volume
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x40, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x02,                      // next track id

    0x00, 0x00, 0x02, 0x5B, 't', 'r', 'a', 'k',  // 603 bytes

    0x00, 0x00, 0x00, 0x5C, 't', 'k', 'h', 'd',  // 92 bytes
    0x00, 0x00, 0x00, 0x03,                      // enabled, in movie
    0x00, 0x00, 0x00, 0x00,                      // creation time
    0x00, 0x00, 0x00, 0x00,                      // modification time
    0x00, 0x00, 0x00, 0x01,                      // track id
    0x00, 0x00, 0x00, 0x00,                      // reserved
    0x00, 0x00, 0x00, 0x64,                      // duration 100
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x40, 0x00, 0x00, 0x00,
    0x07, 0x80, 0x00, 0x00,                      // width 1920
    0x04, 0x38, 0x00, 0x00,                      // height 1080

    0x00, 0x00, 0x00, 0x24, 'e', 'd', 't', 's',  // 36 bytes
    0x00, 0x00, 0x00, 0x1C, 'e', 'l', 's', 't',  // 28 bytes
    0x00, 0x00, 0x00, 0x00,                      // version and flags
    0x00, 0x00, 0x00, 0x01,                      // one entry
    0x00, 0x00, 0x00, 0x64,                      // segment duration 100
    0x00, 0x00, 0x00, 0x00,                      // media time
    0x00, 0x01, 0x00, 0x00,                      // media rate

    0x00, 0x00, 0x01, 0xD3, 'm', 'd', 'i', 'a',  // 467 bytes

    0x00, 0x00, 0x00, 0x20, 'm', 'd', 'h', 'd',  // 32 bytes
    0x00, 0x00, 0x00, 0x00,                      // version and flags
    0x00, 0x00, 0x00, 0x00,                      // creation time
    0x00, 0x00, 0x00, 0x00,                      // modification time
    0x00, 0x00, 0x27, 0x10,                      // timescale 10000
    0x00, 0x00, 0x00, 0x64,                      // duration 100
    0x55, 0xC4,                                  // "und"
    0x00, 0x00,

    0x00, 0x00, 0x00, 0x2D, 'h', 'd', 'l', 'r',  // 45 bytes
    0x00, 0x00, 0x00, 0x00,                      // version and flags
    0x00, 0x00, 0x00, 0x00,                      // pre-defined
    'v', 'i', 'd', 'e',
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    'V', 'i', 'd', 'e', 'o', 'H', 'a', 'n', 'd', 'l', 'e', 'r', 0x00,

    0x00, 0x00, 0x01, 0x7E, 'm', 'i', 'n', 'f',  // 382 bytes

    0x00, 0x00, 0x00, 0x14, 'v', 'm', 'h', 'd',  // 20 bytes
    0x00, 0x00, 0x00, 0x01,                      // version and flags
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,

    0x00, 0x00, 0x00, 0x24, 'd', 'i', 'n', 'f',  // 36 bytes
    0x00, 0x00, 0x00, 0x1C, 'd', 'r', 'e', 'f',  // 28 bytes
    0x00, 0x00, 0x00, 0x00,                      // version and flags
    0x00, 0x00, 0x00, 0x01,                      // one entry
    0x00, 0x00, 0x00, 0x0C, 'u', 'r', 'l', ' ',  // 12 bytes
    0x00, 0x00, 0x00, 0x01,                      // data in this file

    0x00, 0x00, 0x01, 0x3E, 's', 't', 'b', 'l',  // 318 bytes

    0x00, 0x00, 0x00, 0x9A, 's', 't', 's', 'd',  // 154 bytes
    0x00, 0x00, 0x00, 0x00,                      // version and flags
    0x00, 0x00, 0x00, 0x01,                      // one entry

    0x00, 0x00, 0x00, 0x8A, 'a', 'v', 'c', '1',  // 138 bytes
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00,          // reserved
    0x00, 0x01,                                  // data reference index
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x07, 0x80,                                  // width 1920
    0x04, 0x38,                                  // height 1080
    0x00, 0x48, 0x00, 0x00,                      // 72 dpi
    0x00, 0x48, 0x00, 0x00,                      // 72 dpi
    0x00, 0x00, 0x00, 0x00,                      // reserved
    0x00, 0x01,                                  // frame count
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x18,                                  // depth 24
    0xFF, 0xFF,                                  // pre-defined

    0x00, 0x00, 0x00, 0x24, 'a', 'v', 'c', 'C',  // 36 bytes
    0x01, 0x64, 0x00, 0x1F, 0xFF, 0xE1, 0x00, 0x0C,
    0x67, 0x64, 0x00, 0x1F, 0xAC, 0x2B, 0x40, 0x28, 0x02, 0xDD, 0x80, 0x88,
    0x01, 0x00, 0x05, 0x68, 0xEE, 0x3C, 0xB0, 0x00,

    0x00, 0x00, 0x00, 0x10, 'p', 'a', 's', 'p',  // 16 bytes
    0x00, 0x00, 0x00, 0x01,
    0x00, 0x00, 0x00, 0x01,

    0x00, 0x00, 0x00, 0x30, 's', 't', 't', 's',  // 48 bytes
    0x00, 0x00, 0x00, 0x00,                      // version and flags
    0x00, 0x00, 0x00, 0x04,                      // four entries
    0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x01, 0x4E,  // 334
    0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x01, 0x4D,  // 333
    0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x01, 0x4D,  // 333
    0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x01, 0x4D,  // 333

    0x00, 0x00, 0x00, 0x18, 's', 't', 's', 's',  // 24 bytes
    0x00, 0x00, 0x00, 0x00,                      // version and flags
    0x00, 0x00, 0x00, 0x02,                      // two entries
    0x00, 0x00, 0x00, 0x01,
    0x00, 0x00, 0x00, 0x03,

    0x00, 0x00, 0x00, 0x1C, 's', 't', 's', 'c',  // 28 bytes
    0x00, 0x00, 0x00, 0x00,                      // version and flags
    0x00, 0x00, 0x00, 0x01,                      // one entry
    0x00, 0x00, 0x00, 0x01,                      // first chunk
    0x00, 0x00, 0x00, 0x04,                      // samples in a chunk
    0x00, 0x00, 0x00, 0x01,                      // sample description

    0x00, 0x00, 0x00, 0x24, 's', 't', 's', 'z',  // 36 bytes
    0x00, 0x00, 0x00, 0x00,                      // version and flags
    0x00, 0x00, 0x00, 0x00,                      // sizes differ
    0x00, 0x00, 0x00, 0x04,                      // four entries
    0x00, 0x00, 0x13, 0x88,                      // 5000
    0x00, 0x00, 0x03, 0xE8,                      // 1000
    0x00, 0x00, 0x03, 0xE8,                      // 1000
    0x00, 0x00, 0x03, 0xE8,                      // 1000

    0x00, 0x00, 0x00, 0x14, 's', 't', 'c', 'o',  // 20 bytes
    0x00, 0x00, 0x00, 0x00,                      // version and flags
    0x00, 0x00, 0x00, 0x01,                      // one entry
    0x00, 0x00, 0x00, 0x30,                      // chunk offset 48
};
// clang-format on
}  // namespace

TEST(MoovBox, IsTheKnownExampleByteForByte)
{
    ASSERT_EQ(g_vExample.size(), 719U);
    const Bytes vMoov = MoovOf(SArguments());
    ASSERT_EQ(vMoov.size(), 719U);
    for (std::size_t ui = 0; ui < vMoov.size(); ++ui)
    {
        EXPECT_EQ(vMoov[ui], g_vExample[ui]) << "at " << ui;
    }
}

TEST(MoovBox, OfOneSampleLastsAMillisecond)
{
    const SMuxedMoov moov = MoovWithTimes({0.0});
    EXPECT_EQ(moov.m_vDeltas, Numbers{10});
    EXPECT_EQ(moov.m_uiSamplesInChunk, 1U);
    ExpectDurations(moov, 0, 0);
}

TEST(MoovBox, TwoFramesOfOneTimeHaveNoDeltas)
{
    EXPECT_EQ(MoovWithTimes({0.0, 0.0}).m_vDeltas, (Numbers{0, 0}));
}

TEST(MoovBox, OfAFileWithoutTimesHasNoDeltasAndNoDurations)
{
    const SMuxedMoov moov = MoovWithTimes({0.0, 0.0, 0.0, 0.0, 0.0});
    EXPECT_EQ(moov.m_vDeltas, Numbers(5, 0));
    ExpectDurations(moov, 0, 0);
}

TEST(MoovBox, FractionsOfATickFallAway)
{
    const SMuxedMoov moov = MoovWithTimes({0.0, 33.35, 66.7});
    EXPECT_EQ(moov.m_vDeltas[0], 333U);
    ExpectDurations(moov, 667, 66);
}

TEST(MoovBox, NoFractionIsCarriedToTheNextDelta)
{
    std::vector<double> times;
    for (int n = 0; n < 1000; ++n)
    {
        times.push_back(n * 1.0625);  // 10.625 ticks, exact in binary
    }
    EXPECT_EQ(MoovWithTimes(times).m_vDeltas, Numbers(1000, 10));
}

TEST(MoovBox, TheLastFrameLastsAsLongAsTheOneBeforeIt)
{
    EXPECT_EQ(MoovWithTimes({0.0, 20.0, 45.0}).m_vDeltas, (Numbers{200, 250, 250}));
}

TEST(MoovBox, TimesThatRunBackwardsGiveNegativeDeltas)
{
    const SMuxedMoov moov = MoovWithTimes({0.0, 50.0, 49.0, 25.5});
    EXPECT_EQ(moov.m_vDeltas, (Numbers{500, 0xFFFFFFF6, 0xFFFFFF15, 0xFFFFFF15}));  // -10, -235
    ExpectDurations(moov, 255, 25);
}

TEST(MoovBox, NegativeDeltasAreCutTowardsZeroToo)
{
    // -0.3125 ticks and -299.6875, exact in binary
    EXPECT_EQ(MoovWithTimes({0.0, 50.0, 49.96875, 20.0}).m_vDeltas, (Numbers{500, 0, 0xFFFFFED5, 0xFFFFFED5}));
}

TEST(MoovBox, OnlyTheMovieHeaderCountsItsDurationInTicks)
{
    // A mismatch that readers of these files know: the other three give milliseconds against the same timescale.
    ExpectDurations(MoovWithTimes({0.0, 1234.56}), 12345, 1234);
}

TEST(MoovBox, DurationsKeepTheir32LowBits)
{
    // 6 days: 5184000000 ticks of 0.1 ms, 518400000 ms
    const SMuxedMoov moov = MoovWithTimes({0.0, 518400000.0});
    ExpectDurations(moov, 5184000000ULL % 4294967296ULL, 518400000);
    EXPECT_EQ(moov.m_vDeltas[0], 5184000000ULL % 4294967296ULL);
}

TEST(MoovBox, ATimeThatNoNumberHoldsCountsAsZero)
{
    const double dInfinity = std::numeric_limits<double>::infinity();
    for (const double dTime : {dInfinity, -dInfinity, std::numeric_limits<double>::quiet_NaN(), 1e300})
    {
        const SMuxedMoov moov = MoovWithTimes({0.0, dTime});
        EXPECT_EQ(moov.m_vDeltas, (Numbers{0, 0})) << dTime;
        ExpectDurations(moov, 0, 0);
    }
}

TEST(MoovBox, WidthAndHeightAreShiftedForTheTrackAndPlainForTheSample)
{
    SArguments arguments;
    arguments.m_uiWidth = 65535;
    arguments.m_uiHeight = 2;
    const SMuxedMoov moov = ReadMoovOf(arguments);
    EXPECT_EQ(moov.m_uiTrackWidth, 0xFFFF0000U);
    EXPECT_EQ(moov.m_uiTrackHeight, 0x00020000U);
    EXPECT_EQ(moov.m_uiWidth, 65535U);
    EXPECT_EQ(moov.m_uiHeight, 2U);
}

TEST(MoovBox, WidthAndHeightAbove65535KeepTheir16LowBits)
{
    const TemporaryFile file;
    CMp4FileWriter writer;
    writer.Open(WidePath(file), EPacketLayout::Nvenc, 65536 + 640, 131072 + 480);
    writer.Finish({0.0});
    const SMuxedMoov moov = ReadMuxedFile(file.Bytes()).m_moov;
    EXPECT_EQ(moov.m_uiWidth, 640U);
    EXPECT_EQ(moov.m_uiHeight, 480U);
    EXPECT_EQ(moov.m_uiTrackWidth, 640U * 65536U);
    EXPECT_EQ(moov.m_uiTrackHeight, 480U * 65536U);
}

TEST(MoovBox, WithoutKeySamplesHasAnEmptyListOfThem)
{
    SArguments arguments;
    arguments.m_keySamples.clear();
    const Bytes vMoov = MoovOf(arguments);
    EXPECT_EQ(vMoov.size(), 719U - 8U);
    EXPECT_TRUE(ReadMoov(vMoov).m_vKeySamples.empty());
    const Bytes vStss = {0, 0, 0, 16, 's', 't', 's', 's', 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_NE(std::search(vMoov.begin(), vMoov.end(), vStss.begin(), vStss.end()), vMoov.end());
}

TEST(MoovBox, TakesTheChunksSamplesFromTheTimesAndTheSizesFromTheSizes)
{
    SArguments arguments;
    arguments.m_times = {0.0, 1.0, 2.0, 3.0, 4.0};
    arguments.m_sizes = {700, 800, 900};
    const SMuxedMoov moov = ReadMoovOf(arguments);
    EXPECT_EQ(moov.m_uiSamplesInChunk, 5U);
    EXPECT_EQ(moov.m_vDeltas.size(), 5U);
    EXPECT_EQ(moov.m_vSizes, (Numbers{700, 800, 900}));
}

TEST(MoovBox, OfNoFrameIsThereAndEmpty)
{
    SArguments arguments;
    arguments.m_times.clear();
    arguments.m_sizes.clear();
    arguments.m_keySamples.clear();
    arguments.m_vFirstPacket.clear();
    arguments.m_uiPpsOffset = g_uiNoPpsOffset;
    const SMuxedMoov moov = ReadMoovOf(arguments);
    EXPECT_TRUE(moov.m_vDeltas.empty());
    EXPECT_TRUE(moov.m_vSizes.empty());
    EXPECT_EQ(moov.m_uiSamplesInChunk, 0U);
    ExpectDurations(moov, 0, 0);
    EXPECT_TRUE(moov.m_vSps.empty());
}

TEST(MoovBox, TablesOfManySamplesAreWhole)
{
    // More than one piece of every table, and pieces that are not full.
    for (const std::uint32_t uiCount : {255U, 256U, 257U, 1000U, 5000U})
    {
        SArguments arguments;
        arguments.m_times.clear();
        arguments.m_sizes.clear();
        arguments.m_keySamples.clear();
        Numbers vDeltas;
        double dTime = 0.0;
        for (std::uint32_t ui = 0; ui < uiCount; ++ui)
        {
            arguments.m_times.push_back(dTime);
            dTime += ui % 97 + 1;
            vDeltas.push_back((std::min(ui, uiCount - 2) % 97 + 1) * 10);
            arguments.m_sizes.push_back(ui * 1000003);
            arguments.m_keySamples.push_back(ui * 7);
        }
        const SMuxedMoov moov = ReadMoovOf(arguments);
        EXPECT_EQ(moov.m_vDeltas, vDeltas);
        EXPECT_EQ(moov.m_vSizes, arguments.m_sizes);
        EXPECT_EQ(moov.m_vKeySamples, arguments.m_keySamples);
    }
}
