// What is in the files that are the same on every system, by ffmpeg and ffprobe: every picture as the runtime converts
// what was written, at its time.
#include <gtest/gtest.h>

#include "runtimes/common/colour.h"
#include "support/ffmpeg.h"
#include "support/ffmpeg_judge.h"
#include "support/temporary_folder.h"
#include "uncompressed_files.h"

namespace
{

using namespace test_support;

// By the definition of the conversion, not by its vector code.
Bytes Nv12Of(const HostPicture& picture)
{
    const std::size_t uiWidth = picture.m_uiWidth;
    const std::size_t uiHeight = picture.m_uiHeight;
    Bytes nv12(uiWidth * uiHeight * 3 / 2);
    for (std::uint32_t y = 0; y < picture.m_uiHeight; y += 2)
    {
        Bytes vRows[2];
        for (std::uint32_t uiRow = 0; uiRow < 2; ++uiRow)
        {
            for (std::uint32_t x = 0; x < picture.m_uiWidth; ++x)
            {
                const std::uint8_t* const p = picture.Pixel(x, y + uiRow);
                vRows[uiRow].insert(vRows[uiRow].end(), {p[0], p[1], p[2], 0});
            }
        }
        runtimes::ConvertRowPairScalar(vRows[0].data(), vRows[1].data(), &nv12[y * uiWidth], &nv12[(y + 1) * uiWidth],
                                       &nv12[(uiHeight + y / 2) * uiWidth], picture.m_uiWidth);
    }
    return nv12;
}

class UncompressedContents : public testing::TestWithParam<const wchar_t*>
{
};

TEST_P(UncompressedContents, AreThePicturesAndTimesThatWereWritten)
{
    const UncompressedRuntimes runtimes;
    const TemporaryFolder dir;
    const std::filesystem::path path = dir / "file.mp4";
    const ModuleHost host;
    ChooseCodec(host, GetParam());
    WriteFile(host, path, UncompressedTimes(), UncompressedPicture);

    ExpectReadByFfmpeg(path, g_uiUncompressedWidth, g_uiUncompressedHeight, UncompressedTimes());
    // In the file's own ticks: in those of a picture rate two pictures would have one time.
    const std::vector<Bytes> vDecoded =
        DecodePlain(path, "-enc_time_base 1/10000 -pix_fmt nv12",
                    std::size_t{g_uiUncompressedWidth} * g_uiUncompressedHeight * 3 / 2, Complaints::Warnings);
    ASSERT_EQ(vDecoded.size(), UncompressedTimes().size());
    for (std::uint32_t ui = 0; ui < vDecoded.size(); ++ui)
        EXPECT_TRUE(vDecoded[ui] == Nv12Of(UncompressedPicture(ui))) << "picture " << ui;
    EXPECT_EQ(RunFfprobe("-of csv=p=0 -show_entries stream=profile " + WholeTrack(path)), "High\n");

    // High profile: the module delivers them too.
    const ReadBack file(host, path);
    ASSERT_EQ(file.Count(), vDecoded.size());
    EXPECT_EQ(file.Times(), TimesAsRead(UncompressedTimes()));
    for (std::uint32_t ui = 0; ui < file.Count(); ++ui)
        EXPECT_NO_THROW(file.Frame(ui)) << "picture " << ui;
}

INSTANTIATE_TEST_SUITE_P(Of, UncompressedContents, testing::Values(L"NVENC1", L"AMF1"));

}  // namespace
