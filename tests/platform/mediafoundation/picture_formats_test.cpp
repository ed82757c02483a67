// Pictures of every kind as samples of the raw formats.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "media_files.h"
#include "test_graph.h"

namespace mftest
{
namespace
{

constexpr std::size_t FRAMES = 6;

class PictureFormats : public ::testing::Test
{
protected:
    // Makes a file, and gives the samples of all its pictures in a format.
    std::vector<GrabbedSample> Play(Size size, const std::string& encoder, const std::string& filter, REFGUID subtype)
    {
        Recipe recipe;
        recipe.m_nWidth = size.m_nWidth;
        recipe.m_nHeight = size.m_nHeight;
        recipe.m_nFrames = FRAMES;
        recipe.m_encoder = encoder;
        recipe.m_filter = filter;
        m_path = m_directory / "video.mp4";
        MakeVideo(m_path, recipe);
        return Play(subtype);
    }
    std::vector<GrabbedSample> Play(REFGUID subtype)
    {
        TestGraph graph;
        EXPECT_EQ(graph.Open(m_path, subtype), S_OK);
        EXPECT_EQ(graph.Start(), S_OK);
        EXPECT_EQ(graph.WaitFor(MESessionEnded), S_OK);
        return graph.Grabber().TakeSamples();
    }

    // What ffmpeg makes of the pictures in a pixel format of its own, rows without padding.
    std::vector<std::string> Decode(const std::string& format, std::size_t uiBytes)
    {
        std::vector<std::string> pictures;
        for (const Bytes& picture : DecodePlain(m_path, "-pix_fmt " + format, uiBytes))
        {
            pictures.emplace_back(picture.begin(), picture.end());
        }
        EXPECT_EQ(pictures.size(), FRAMES);
        return pictures;
    }

    TemporaryFolder m_directory;
    std::string m_path;
};

std::uint8_t Byte(const std::string& bytes, std::size_t uiAt)
{
    return static_cast<std::uint8_t>(bytes[uiAt]);
}

// One component of a YUY2 sample: 0 luma, 1 and 3 chroma, of the pair that x lies in.
std::uint8_t Yuy2Luma(const std::string& sample, Size size, int x, int y)
{
    const std::size_t uiPitch = ((2 * static_cast<std::size_t>(size.m_nWidth) - 1) & ~std::size_t{31}) + 32;
    return Byte(sample, y * uiPitch + 2 * static_cast<std::size_t>(x));
}
std::uint8_t Yuy2Chroma(const std::string& sample, Size size, int x, int y, int nWhich)
{
    const std::size_t uiPitch = ((2 * static_cast<std::size_t>(size.m_nWidth) - 1) & ~std::size_t{31}) + 32;
    return Byte(sample, y * uiPitch + 4 * static_cast<std::size_t>(x / 2) + 1 + 2 * static_cast<std::size_t>(nWhich));
}

TEST_F(PictureFormats, Yuy2OfPlainPicturesIsTheirOwnBytes)
{
    for (const Size size : {Size{64, 48}, Size{18, 10}, Size{98, 34}, Size{130, 50}})
    {
        const auto samples = Play(size, "-c:v libx264 -profile:v high -bf 2", "", MFVideoFormat_YUY2);
        const auto pictures = PlainDecode(m_path, size);
        ASSERT_EQ(samples.size(), pictures.size());
        for (std::size_t k = 0; k < samples.size(); ++k)
        {
            EXPECT_TRUE(samples[k].m_bytes == ToYuy2(pictures[k], size)) << size.m_nWidth << ", " << k;
        }
    }
}

// A container may crop to an odd size; the last pair repeats the last luma.
TEST_F(PictureFormats, Yuy2OfAnOddSize)
{
    Play({64, 48}, "-c:v libx264 -profile:v high", "", MFVideoFormat_YUY2);
    std::string file = ReadText(m_path);
    const std::size_t uiEntry = file.find("avc1", file.find("stsd"));
    const std::size_t uiWidth = uiEntry + 4 + 24;
    file[uiWidth + 1] = 63;
    file[uiWidth + 3] = 47;
    WriteText(m_path, file);
    const auto samples = Play(MFVideoFormat_YUY2);
    const auto pictures = PlainDecode(m_path, {63, 47});
    ASSERT_EQ(samples.size(), FRAMES);
    ASSERT_EQ(pictures.size(), FRAMES);
    for (std::size_t k = 0; k < FRAMES; ++k)
    {
        EXPECT_TRUE(samples[k].m_bytes == ToYuy2(pictures[k], {63, 47})) << k;
    }
}

// Chroma of half the lines belongs to the lines of its own field.
TEST_F(PictureFormats, Yuy2OfInterlacedPictures)
{
    const Size size = {64, 64};
    const auto samples =
        Play(size, "-c:v libx264 -profile:v high -flags +ilme+ildct -x264-params tff=1", "", MFVideoFormat_YUY2);
    const auto pictures = PlainDecode(m_path, size);
    for (std::size_t k = 0; k < FRAMES; ++k)
    {
        EXPECT_TRUE(samples[k].m_bytes == ToYuy2(pictures[k], size, true)) << k;
        EXPECT_FALSE(samples[k].m_bytes == ToYuy2(pictures[k], size, false)) << k;
    }
}

TEST_F(PictureFormats, Yuy2OfFullRangePicturesIsInTheStudioRange)
{
    const Size size = {64, 48};
    const auto samples =
        Play(size, "-c:v libx264 -profile:v high -pix_fmt yuvj420p -color_range pc",
             "drawbox=w=20:h=20:c=white:t=fill,scale=out_range=full,format=yuvj420p", MFVideoFormat_YUY2);
    const auto pictures = Decode("yuvj420p", 64 * 48 * 3 / 2);
    int nHighest = 0;
    for (std::size_t k = 0; k < FRAMES; ++k)
    {
        for (int y = 0; y < size.m_nHeight; ++y)
        {
            for (int x = 0; x < size.m_nWidth; ++x)
            {
                const int nFull = Byte(pictures[k], static_cast<std::size_t>(y * size.m_nWidth + x));
                const double dExpected = 16 + nFull * 219.0 / 255.0;
                ASSERT_NEAR(Yuy2Luma(samples[k].m_bytes, size, x, y), dExpected, 1.0) << x << ", " << y;
                nHighest = std::max(nHighest, nFull);
            }
        }
    }
    EXPECT_GT(nHighest, 240);
}

TEST_F(PictureFormats, Yuy2OfTenBitsDropsTheLowOnes)
{
    const Size size = {64, 48};
    const auto samples = Play(size, "-c:v libx264 -profile:v high10 -pix_fmt yuv420p10le", "", MFVideoFormat_YUY2);
    const auto pictures = Decode("yuv420p10le", 64 * 48 * 3);
    const std::size_t uiPlane = 64 * 48 * 2;
    for (std::size_t k = 0; k < FRAMES; ++k)
    {
        const auto word = [&](std::size_t uiAt) { return Byte(pictures[k], uiAt) + 256 * Byte(pictures[k], uiAt + 1); };
        for (int y = 0; y < size.m_nHeight; ++y)
        {
            for (int x = 0; x < size.m_nWidth; ++x)
            {
                const auto uiAt = static_cast<std::size_t>(2 * (y * size.m_nWidth + x));
                ASSERT_NEAR(Yuy2Luma(samples[k].m_bytes, size, x, y), word(uiAt) / 4.0, 1.0);
                const auto uiChroma = uiPlane + static_cast<std::size_t>(2 * ((y / 2) * 32 + x / 2));
                ASSERT_NEAR(Yuy2Chroma(samples[k].m_bytes, size, x, y, 0), word(uiChroma) / 4.0, 1.0);
            }
        }
    }
}

TEST_F(PictureFormats, Yuy2OfPicturesWithAllChromaLinesKeepsThem)
{
    const Size size = {64, 48};
    const auto samples = Play(size, "-c:v libx264 -profile:v high422 -pix_fmt yuv422p", "", MFVideoFormat_YUY2);
    const auto pictures = Decode("yuv422p", 64 * 48 * 2);
    for (std::size_t k = 0; k < FRAMES; ++k)
    {
        for (int y = 0; y < size.m_nHeight; ++y)
        {
            for (int x = 0; x < size.m_nWidth; ++x)
            {
                ASSERT_EQ(Yuy2Luma(samples[k].m_bytes, size, x, y),
                          Byte(pictures[k], static_cast<std::size_t>(y * 64 + x)));
                ASSERT_EQ(Yuy2Chroma(samples[k].m_bytes, size, x, y, 1),
                          Byte(pictures[k], static_cast<std::size_t>(64 * 48 + 32 * 48 + y * 32 + x / 2)));
            }
        }
    }
}

TEST_F(PictureFormats, Yuy2OfPicturesWithAllChromaHalvesItAcross)
{
    const Size size = {64, 48};
    const auto samples = Play(size, "-c:v libx264 -profile:v high444 -pix_fmt yuv444p", "", MFVideoFormat_YUY2);
    const auto pictures = Decode("yuv444p", 64 * 48 * 3);
    for (std::size_t k = 0; k < FRAMES; ++k)
    {
        double dDifference = 0;
        for (int y = 0; y < size.m_nHeight; ++y)
        {
            for (int x = 0; x < size.m_nWidth; x += 2)
            {
                const auto uiAt = static_cast<std::size_t>(64 * 48 + y * 64 + x);
                ASSERT_EQ(Yuy2Luma(samples[k].m_bytes, size, x, y),
                          Byte(pictures[k], static_cast<std::size_t>(y * 64 + x)));
                const double dMean = (Byte(pictures[k], uiAt) + Byte(pictures[k], uiAt + 1)) / 2.0;
                dDifference += std::abs(Yuy2Chroma(samples[k].m_bytes, size, x, y, 0) - dMean);
            }
        }
        EXPECT_LT(dDifference / (32 * 48), 3.0) << k;  // filters differ at sharp edges only
    }
}

TEST_F(PictureFormats, Yuy2OfGreyPicturesHasNoColour)
{
    const Size size = {64, 48};
    const auto samples = Play(size, "-c:v libx264 -profile:v high -pix_fmt gray", "", MFVideoFormat_YUY2);
    ASSERT_EQ(samples.size(), FRAMES);
    const auto pictures = Decode("gray", 64 * 48);
    for (std::size_t k = 0; k < FRAMES; ++k)
    {
        for (int y = 0; y < size.m_nHeight; ++y)
        {
            for (int x = 0; x < size.m_nWidth; ++x)
            {
                ASSERT_EQ(Yuy2Chroma(samples[k].m_bytes, size, x, y, x % 2), 128);
            }
        }
    }
}

TEST_F(PictureFormats, Nv12IsLumaAndThenPairsOfChroma)
{
    const Size size = {62, 46};
    const auto samples = Play(size, "-c:v libx264 -profile:v baseline", "", MFVideoFormat_NV12);
    const auto pictures = Decode("nv12", 62 * 46 * 3 / 2);
    ASSERT_EQ(samples.size(), FRAMES);
    for (std::size_t k = 0; k < FRAMES; ++k)
    {
        EXPECT_TRUE(samples[k].m_bytes == pictures[k]) << k;
    }
}

TEST_F(PictureFormats, Rgb32IsBlueGreenRed)
{
    const Size size = {64, 48};
    const auto samples =
        Play(size, "-c:v libx264 -profile:v high -crf 1", "drawbox=c=0xff2010:t=fill", MFVideoFormat_RGB32);
    ASSERT_EQ(samples.size(), FRAMES);
    for (const GrabbedSample& sample : samples)
    {
        ASSERT_EQ(sample.m_bytes.size(), 64U * 48U * 4U);
        for (const std::size_t uiPixel : {std::size_t{0}, std::size_t{64 * 24 + 31}, std::size_t{64 * 48 - 1}})
        {
            EXPECT_NEAR(Byte(sample.m_bytes, 4 * uiPixel), 0x10, 6);
            EXPECT_NEAR(Byte(sample.m_bytes, 4 * uiPixel + 1), 0x20, 6);
            EXPECT_NEAR(Byte(sample.m_bytes, 4 * uiPixel + 2), 0xff, 6);
        }
    }
}

// Two streams of different sizes, one after the other, their parameter sets among the samples.
TEST_F(PictureFormats, ASizeThatChangesIsScaledToTheFirst)
{
    const Size size = {64, 48};
    const std::string first = m_directory / "first.h264";
    const std::string second = m_directory / "second.h264";
    const std::string options = " -frames:v 6 -c:v libx264 -profile:v high -bf 0";
    MakeWithFfmpeg("-f lavfi -i testsrc2=r=25:d=1:s=64x48" + options, first);
    MakeWithFfmpeg("-f lavfi -i testsrc2=r=25:d=1:s=128x96" + options, second);
    const std::string both = m_directory / "both.h264";
    WriteText(both, ReadText(first) + ReadText(second));
    m_path = m_directory / "video.mkv";
    RunFfmpeg("-framerate 25 -i " + Quoted(both) + " -c copy " + Quoted(m_path));
    const auto samples = Play(MFVideoFormat_YUY2);
    ASSERT_EQ(samples.size(), 12U);
    for (const GrabbedSample& sample : samples)
    {
        EXPECT_EQ(sample.m_bytes.size(), 128U * 48U);
    }
    const auto expected = PlainDecode(first, size);
    EXPECT_TRUE(samples[5].m_bytes == ToYuy2(expected[5], size));
}

}  // namespace
}  // namespace mftest
