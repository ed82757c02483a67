// Files that the box walk can't finish but a demuxer can play: the frame times come from a pass through the file.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "support/ffmpeg.h"
#include "support/module_host.h"
#include "support/mp4_boxes.h"
#include "support/picture_definition.h"
#include "support/temporary_folder.h"
#include "video_cases.h"

namespace
{

using namespace test_support;

constexpr std::size_t g_uiCount = 60;

// Frame times of 25 pictures a second.
std::vector<double> TimesOf25()
{
    std::vector<double> vTimes;
    for (std::size_t ui = 0; ui < g_uiCount; ++ui)
        vTimes.push_back(static_cast<double>(40 * ui));
    return vTimes;
}

// Times that no constant rate has: 40 ms between even pairs, 15 between odd ones.
std::vector<double> IrregularTimes()
{
    std::vector<double> vTimes{0.0};
    while (vTimes.size() < g_uiCount)
        vTimes.push_back(vTimes.back() + (vTimes.size() % 2 != 0 ? 40.0 : 15.0));
    return vTimes;
}

std::string Input(bool bIrregular)
{
    std::string str = "-f lavfi -i testsrc2=size=96x64:rate=25 -frames:v " + std::to_string(g_uiCount);
    if (bIrregular)
    {
        str += " -vf \"settb=1/1000,setpts='floor(N/2)*55+mod(N,2)*40'\" -enc_time_base 1/1000 -fps_mode passthrough"
               " -video_track_timescale 1000";
    }
    return str + " -c:v libx264 -profile:v high -pix_fmt yuv420p -g 12 -bf 0 ";
}

// Puts a header with a 64-bit size in front of the sample data, as in large files: 8 bytes more before every sample.
Bytes WithLongMdatHeader(const Bytes& vFile)
{
    const Mp4Box mdat = FindBox(vFile, "mdat");
    const Mp4Box moov = FindBox(vFile, "moov");
    EXPECT_LT(mdat.m_uiHeader, moov.m_uiHeader);
    Bytes vLong(vFile.begin(), vFile.begin() + static_cast<std::ptrdiff_t>(mdat.m_uiHeader));
    const std::size_t uiSize = mdat.m_uiEnd - mdat.m_uiHeader + 8;
    const Bytes vHeader{0, 0, 0, 1, 'm', 'd', 'a', 't', 0, 0, 0, 0};
    vLong.insert(vLong.end(), vHeader.begin(), vHeader.end());
    for (int nShift = 24; nShift >= 0; nShift -= 8)
        vLong.push_back(static_cast<std::uint8_t>(uiSize >> nShift));
    vLong.insert(vLong.end(), vFile.begin() + static_cast<std::ptrdiff_t>(mdat.m_uiPayload), vFile.end());

    const Mp4Box stco = FindBox(vLong, "moov/trak/mdia/minf/stbl/stco");
    for (std::uint32_t ui = 0; ui < WordAt(vLong, stco.m_uiPayload + 4); ++ui)
    {
        const std::size_t uiAt = stco.m_uiPayload + 8 + 4 * static_cast<std::size_t>(ui);
        SetWordAt(vLong, uiAt, WordAt(vLong, uiAt) + 8);
    }
    return vLong;
}

// Puts a box in front of moov's first track; what follows moves, so the file has its samples in front of moov.
Bytes WithBoxInFrontOfTrack(const Bytes& vFile, const Bytes& vBox)
{
    const Mp4Box moov = FindBox(vFile, "moov");
    const Mp4Box trak = FindBox(vFile, "moov/trak");
    EXPECT_LT(FindBox(vFile, "mdat").m_uiHeader, moov.m_uiHeader);
    Bytes vChanged = vFile;
    vChanged.insert(vChanged.begin() + static_cast<std::ptrdiff_t>(trak.m_uiHeader), vBox.begin(), vBox.end());
    SetWordAt(vChanged, moov.m_uiHeader, static_cast<std::uint32_t>(moov.m_uiEnd - moov.m_uiHeader + vBox.size()));
    return vChanged;
}

// A track that holds nothing but a box which says that it is two gigabytes long.
Bytes WithBrokenBoxInMoov(const Bytes& vFile)
{
    return WithBoxInFrontOfTrack(vFile, {0, 0, 0, 16, 't', 'r', 'a', 'k', 0x7F, 0xFF, 0xFF, 0xF0, 'j', 'u', 'n', 'k'});
}

// A box that is sound, but has its size in the 64-bit form.
Bytes WithLongHeaderInMoov(const Bytes& vFile)
{
    return WithBoxInFrontOfTrack(vFile, {0, 0, 0, 1, 'f', 'r', 'e', 'e', 0, 0, 0, 0, 0, 0, 0, 16});
}

void WriteText(Bytes& vFile, std::size_t uiAt, const std::string& strText)
{
    std::copy(strText.begin(), strText.end(), vFile.begin() + static_cast<std::ptrdiff_t>(uiAt));
}

// A metadata track without samples in front of the video's: the first timing table of the file has no entries.
Bytes WithEmptyTrackInFront(const Bytes& vFile)
{
    const Mp4Box trak = FindBox(vFile, "moov/trak");
    Bytes vMoov = vFile;
    for (const char* const pszTable : {"stts", "stsc", "stco"})
    {
        const Mp4Box table = FindBox(vMoov, std::string("moov/trak/mdia/minf/stbl/") + pszTable);
        SetWordAt(vMoov, table.m_uiPayload + 4, 0);
    }
    SetWordAt(vMoov, FindBox(vMoov, "moov/trak/mdia/minf/stbl/stsz").m_uiPayload + 8, 0);
    WriteText(vMoov, FindBox(vMoov, "moov/trak/mdia/hdlr").m_uiPayload + 8, "meta");
    WriteText(vMoov, FindBox(vMoov, "moov/trak/mdia/minf/stbl/stsd").m_uiPayload + 12, "mett");
    return WithBoxInFrontOfTrack(vFile, Bytes(vMoov.begin() + static_cast<std::ptrdiff_t>(trak.m_uiHeader),
                                              vMoov.begin() + static_cast<std::ptrdiff_t>(trak.m_uiEnd)));
}

struct FallbackCase
{
    const char* m_pszName;
    bool m_bIrregular;
    const char* m_pszOptions;
    std::function<Bytes(const Bytes&)> m_fnChange;
};

const Bytes& Unchanged(const Bytes& vFile)
{
    return vFile;
}

class Fallback : public testing::TestWithParam<FallbackCase>
{
};

TEST_P(Fallback, OpensWithTheRightTimesAndPictures)
{
    const TemporaryFolder dir;
    const auto path = dir / "video.mp4";
    MakeWithFfmpeg(Input(GetParam().m_bIrregular) + GetParam().m_pszOptions, path);
    WriteBytes(path, GetParam().m_fnChange(ReadBytes(path)));
    const std::vector<Bytes> vPictures = DecodePlain(path, e2e::g_uiWidth, e2e::g_uiHeight);
    ASSERT_EQ(g_uiCount, vPictures.size()) << "ffmpeg itself doesn't play the file";

    const ModuleHost host;
    const InputFile file = host.OpenInput(path);
    SQmImageAttributes attributes;
    ASSERT_EQ(QM_OK, file->GetImageAttributes(&attributes));
    EXPECT_EQ(g_uiCount, attributes.m_uiSequenceCount);
    const std::vector<double> vTimes = CachedTimes(file.Get());
    ASSERT_FALSE(vTimes.empty());
    EXPECT_EQ(0.0, vTimes[0]);
    EXPECT_EQ(GetParam().m_bIrregular ? IrregularTimes() : TimesOf25(), vTimes);

    for (const std::size_t uiFrame : {0u, 1u, 2u, 59u, 30u, 31u, 5u, 58u, 12u, 11u, 13u, 47u, 0u})
    {
        Bytes vRead(attributes.m_uiWidthBytes * std::size_t{attributes.m_uiHeight}, 0xA5);
        ASSERT_EQ(QM_OK, file->ReadFrame(static_cast<std::uint32_t>(uiFrame), vRead.data(), nullptr, nullptr));
        EXPECT_TRUE(vRead == DeliveredPicture(vPictures[uiFrame], e2e::g_uiWidth, e2e::g_uiHeight))
            << "frame " << uiFrame;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Files, Fallback,
    testing::Values(FallbackCase{"LongMdatHeaderBeforeMoov", false, "", WithLongMdatHeader},
                    FallbackCase{"LongMdatHeaderBeforeMoov_IrregularTimes", true, "", WithLongMdatHeader},
                    FallbackCase{"Fragmented", false, "-movflags frag_keyframe+empty_moov", Unchanged},
                    FallbackCase{"Fragmented_IrregularTimes", true, "-movflags frag_keyframe+empty_moov", Unchanged},
                    FallbackCase{"TimingTableWithoutEntries", false, "", WithEmptyTrackInFront},
                    FallbackCase{"BrokenBoxInMoov", false, "", WithBrokenBoxInMoov},
                    FallbackCase{"BrokenBoxInMoov_IrregularTimes", true, "", WithBrokenBoxInMoov},
                    FallbackCase{"LongHeaderInMoov", false, "", WithLongHeaderInMoov}),
    [](const auto& fallback) { return std::string(fallback.param.m_pszName); });

// The walk is complete with what moov lists, so fragments are not looked for: the frames of moov are the video.
TEST(FallbackNotTaken, AFragmentedFileWhoseMoovHasSamplesHasTheFramesOfItsMoov)
{
    const TemporaryFolder dir;
    const auto path = dir / "video.mp4";
    MakeWithFfmpeg(Input(false) + "-movflags frag_keyframe", path);
    const std::size_t uiListed = ListTimesMs(ReadBytes(path)).size();
    ASSERT_GT(uiListed, 0u);
    ASSERT_LT(uiListed, g_uiCount);

    const ModuleHost host;
    const InputFile file = host.OpenInput(path);
    SQmImageAttributes attributes;
    ASSERT_EQ(QM_OK, file->GetImageAttributes(&attributes));
    EXPECT_EQ(uiListed, attributes.m_uiSequenceCount);
}

// Nothing to count: the fragments are cut off, and what is left says that there is a track.
TEST(FallbackNotTaken, AFragmentedFileWithoutAnyFragmentIsRefused)
{
    const TemporaryFolder dir;
    const auto path = dir / "video.mp4";
    MakeWithFfmpeg(Input(false) + "-movflags frag_keyframe+empty_moov", path);
    Bytes vFile = ReadBytes(path);
    vFile.resize(FindBox(vFile, "moov").m_uiEnd);
    WriteBytes(path, vFile);

    const ModuleHost host;
    const InputFile file = host.OpenInput(path);
    SQmImageAttributes attributes;
    EXPECT_EQ(QM_ERR_FAIL, file->GetImageAttributes(&attributes));
}

}  // namespace
