// Videos whose pictures aren't delivered: codings other than H.264, and H.264 below High profile. They open with their
// shape, their number of frames and their times, and a read returns the picture as the host makes it.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/ffmpeg.h"
#include "support/module_host.h"
#include "support/mp4_boxes.h"
#include "support/temporary_folder.h"

namespace
{

using namespace test_support;

constexpr unsigned int g_uiWidth = 70;
constexpr unsigned int g_uiHeight = 48;
constexpr unsigned int g_uiRowBytes = 212;  // 210, rounded up to 4
constexpr unsigned int g_uiFrames = 60;

struct Coding
{
    std::string m_strName;
    std::string m_strOptions;      // ffmpeg's encoder options
    std::uint8_t m_uiProfile = 0;  // of the H.264 stream; 0 for other codings
    std::uint8_t m_uiPatched = 0;  // the profile that takes its place, if not 0
};

std::ostream& operator<<(std::ostream& stream, const Coding& coding)
{
    return stream << coding.m_strName;
}

class Codings : public testing::TestWithParam<Coding>
{
protected:
    // Times that are about 40 ms apart and never repeat.
    std::vector<std::uint8_t> MakeBytes()
    {
        const auto path = m_dir / "made.mp4";
        MakeWithFfmpeg("-f lavfi -i testsrc2=size=70x48:rate=25 -frames:v " + std::to_string(g_uiFrames) +
                           " -vf \"settb=1/60000,setpts='N*2400+mod(N*N*977,2000)'\" -enc_time_base 1/60000 "
                           "-fps_mode passthrough -video_track_timescale 60000 -pix_fmt yuv420p " +
                           GetParam().m_strOptions,
                       path);
        return ReadBytes(path);
    }

    TemporaryFolder m_dir;
};

// The profile stands in the configuration record and again in the parameter set after it.
void CheckAndPatchProfile(std::vector<std::uint8_t>& vFile, const Coding& coding)
{
    const std::string strMark = "avcC";
    const auto itMark = std::search(vFile.begin(), vFile.end(), strMark.begin(), strMark.end());
    ASSERT_NE(itMark, vFile.end());
    const auto itRecord = itMark + 4;
    ASSERT_EQ(itRecord[8] & 0x1F, 7);  // a sequence parameter set
    for (const int nAt : {1, 9})
    {
        ASSERT_EQ(itRecord[nAt], coding.m_uiProfile);
        if (coding.m_uiPatched != 0) itRecord[nAt] = coding.m_uiPatched;
    }
}

TEST_P(Codings, OpenWithTheirShapeAndTimesAndDeliverNoPictures)
{
    std::vector<std::uint8_t> vFile = MakeBytes();
    if (GetParam().m_uiProfile != 0)
    {
        ASSERT_NO_FATAL_FAILURE(CheckAndPatchProfile(vFile, GetParam()));
    }
    const auto path = m_dir / "video.mp4";
    WriteBytes(path, vFile);
    const std::vector<std::uint64_t> vExpected = ListTimesMs(vFile);
    ASSERT_EQ(vExpected.size(), g_uiFrames);

    const ModuleHost host;
    const InputFile file = host.OpenInput(path);
    SQmImageAttributes attributes;
    ASSERT_EQ(file->GetImageAttributes(&attributes), QM_OK);
    EXPECT_EQ(attributes.m_uiWidth, g_uiWidth);
    EXPECT_EQ(attributes.m_uiHeight, g_uiHeight);
    EXPECT_EQ(attributes.m_uiWidthBytes, g_uiRowBytes);
    EXPECT_EQ(attributes.m_uiSequenceCount, g_uiFrames);
    EXPECT_EQ(CachedTimes(file.Get()), std::vector<double>(vExpected.begin(), vExpected.end()));

    const std::vector<std::uint8_t> vUntouched(std::size_t{g_uiRowBytes} * g_uiHeight, 0);
    for (const std::uint32_t uiFrame : {0U, 1U, g_uiFrames - 1, 7U})
    {
        std::vector<std::uint8_t> vRead(vUntouched.size(), 0xA5);
        EXPECT_EQ(file->ReadFrame(uiFrame, vRead.data(), nullptr, nullptr), QM_OK) << uiFrame;
        EXPECT_EQ(vRead, vUntouched) << uiFrame;
    }
}

const Coding g_aCodings[] = {
    {"Mpeg4Part2", "-c:v mpeg4"},
    {"Mpeg4Part2_BPictures", "-c:v mpeg4 -bf 2"},
    {"MotionJpeg", "-c:v mjpeg -strict unofficial"},
    {"Hevc", "-c:v libx265 -preset ultrafast -x265-params log-level=none"},
    {"Baseline", "-c:v libx264 -profile:v baseline", 66},
    {"Main", "-c:v libx264 -profile:v main", 77},
    // ffmpeg has no encoder for it. A Baseline stream without several slice groups is one of Extended profile too.
    {"Extended", "-c:v libx264 -profile:v baseline", 66, 88},
};

INSTANTIATE_TEST_SUITE_P(Videos, Codings, testing::ValuesIn(g_aCodings),
                         [](const auto& coding) { return coding.param.m_strName; });

}  // namespace
