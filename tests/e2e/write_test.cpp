// What a host writes, it reads back: the times that it gave and the pictures in their order.
#include <gtest/gtest.h>

#include <cmath>

#include "support/video_maker.h"
#include "writinghost.h"

namespace
{

using namespace test_support;

constexpr std::uint32_t g_uiWidth = 320;
constexpr std::uint32_t g_uiHeight = 240;

// A picture with a number drawn into it: eight bright or dark fields across, the lowest bit at the left.
HostPicture NumberedPicture(std::uint32_t uiNumber)
{
    HostPicture picture(g_uiWidth, g_uiHeight);
    for (std::uint32_t y = 0; y < g_uiHeight; ++y)
    {
        for (std::uint32_t x = 0; x < g_uiWidth; ++x)
        {
            const bool bBright = (uiNumber >> (x / 40)) % 2 != 0;
            for (int i = 0; i < 3; ++i)
                picture.Pixel(x, y)[i] = bBright ? 220 : 30;
        }
    }
    return picture;
}

std::uint32_t NumberIn(const std::vector<unsigned char>& vPixels, std::size_t uiPitch)
{
    std::uint32_t uiNumber = 0;
    for (std::uint32_t ui = 0; ui < 8; ++ui)
    {
        if (vPixels[120 * uiPitch + (ui * 40 + 20) * 3] > 128) uiNumber |= 1U << ui;
    }
    return uiNumber;
}

// Every distance is stored in whole ticks of a tenth of a millisecond, and every sum of them read in whole
// milliseconds.
std::vector<double> TimesAsRead(const std::vector<double>& vTimes)
{
    std::vector<double> vRead = {0.0};
    double dTicks = 0.0;
    for (std::size_t ui = 1; ui < vTimes.size(); ++ui)
    {
        dTicks += std::trunc((vTimes[ui] - vTimes[ui - 1]) * 10000.0 / 1000.0);
        vRead.push_back(std::trunc(dTicks / 10.0));
    }
    return vRead;
}

TEST(WrittenFile, ComesBackWithItsTimesAndItsPicturesInOrder)
{
    const std::vector<double> vTimes = {0.0, 33.4, 66.7, 100.05, 1000.9, 3601000.0, 7203000.5, 7203040.5};
    const TempDir dir;
    const auto path = dir / "written.mp4";
    const ModuleHost host;
    ChooseCodec(host, L"NVENC1");
    {
        const OutputFile file = OpenForPictures(host, path, g_uiWidth, g_uiHeight);
        for (std::size_t ui = 0; ui < vTimes.size(); ++ui)
            ASSERT_EQ(QM_OK, WriteAt(file, vTimes[ui], NumberedPicture(static_cast<std::uint32_t>(ui) + 1))) << ui;
        EXPECT_EQ(QM_OK, file->CloseOutput());
    }

    const InputFile file = host.OpenInput(path);
    SQmImageAttributes attributes;
    ASSERT_EQ(QM_OK, file->GetImageAttributes(&attributes));
    ASSERT_EQ(vTimes.size(), attributes.m_uiSequenceCount);
    EXPECT_EQ(TimesAsRead(vTimes), CachedTimes(file.Get()));
    EXPECT_EQ(100.0, CachedTimes(file.Get())[3]);

    std::vector<unsigned char> vPixels(std::size_t{attributes.m_uiWidthBytes} * attributes.m_uiHeight);
    for (std::uint32_t ui : {0U, 7U, 3U, 1U, 6U, 2U, 5U, 4U})
    {
        ASSERT_EQ(QM_OK, file->ReadFrame(ui, vPixels.data(), nullptr, nullptr)) << ui;
        EXPECT_EQ(ui + 1, NumberIn(vPixels, attributes.m_uiWidthBytes));
    }
}

}  // namespace
