// The built program with the real module and real videos, next to what ffmpeg and ffprobe say of them.
#include <algorithm>
#include <set>
#include <sstream>

#include <gmock/gmock.h>

#include "decode_image.h"
#include "support/ffmpeg.h"
#include "support/picture_definition.h"
#include "support/run_program.h"
#include "unicode_folder.h"
#include "video_folder.h"

namespace
{

using namespace test_support;
using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr int FRAMES = 60;

std::string HighVideo()
{
    return MakeVideoFile({"h\xC3\xB6\x63h \xE4\xB8\xAD.mp4", FRAMES, "-c:v libx264 -profile:v high -bf 2 -g 12 -qp 8"});
}

// Irregular distances of 20 to 60 ms, no B pictures.
std::string IrregularVideo()
{
    return MakeVideoFile(
        {"irregular.mp4", FRAMES,
         "-c:v libx264 -profile:v high -bf 0 -g 12 -qp 8 "
         "-bsf:v \"setts=ts='N*3600+1800*sin(N*1.3)':time_base=1/90000\" -video_track_timescale 90000"});
}

std::string BaselineVideo()
{
    return MakeVideoFile({"baseline.mp4", 10, "-c:v libx264 -profile:v baseline"});
}

std::string Frame(const std::string& strRaw, std::size_t uiFrame)
{
    return strRaw.substr(uiFrame * VIDEO_FRAME_BYTES, VIDEO_FRAME_BYTES);
}

// What the file's frames have to be: ffmpeg's plain decode, turned into 24-bit pixels by the definition, tight rows.
std::vector<std::string> PicturesByFfmpeg(const std::string& strPath)
{
    std::vector<std::string> vPictures;
    for (const auto& vPlanar : DecodePlain(strPath, VIDEO_WIDTH, VIDEO_HEIGHT))
    {
        const auto vRows = DeliveredPicture(vPlanar, VIDEO_WIDTH, VIDEO_HEIGHT);
        std::string strTight;
        for (std::size_t y = 0; y < VIDEO_HEIGHT; ++y)
        {
            const auto pRow = vRows.begin() + static_cast<std::ptrdiff_t>(y * FrameRowBytes(VIDEO_WIDTH));
            strTight.append(pRow, pRow + 3 * VIDEO_WIDTH);
        }
        vPictures.push_back(strTight);
    }
    return vPictures;
}

std::string PixelsOf(const fs::path& path)
{
    const std::string text = ReadText(path);
    const DecodedImage image = DecodeImage({text.begin(), text.end()});
    return {image.m_vBgr.begin(), image.m_vBgr.end()};
}

std::string CsvOf(const std::vector<std::int64_t>& vTimes)
{
    std::string text = "frame,time_ms\n";
    for (std::size_t i = 0; i < vTimes.size(); ++i)
        text += std::to_string(i) + "," + std::to_string(vTimes[i]) + "\n";
    return text;
}

class Videos : public testing::Test
{
protected:
    static ProgramResult Run(const std::vector<std::string>& vArguments)
    {
        return RunProgram(QMHOST_PROGRAM, vArguments);
    }
    static std::string Succeed(const std::vector<std::string>& vArguments)
    {
        const ProgramResult result = Run(vArguments);
        EXPECT_EQ(result.m_nStatus, 0);
        EXPECT_EQ(result.m_strErr, "");
        return result.m_strOut;
    }
    std::string Target(const char* pszName) const { return (m_folder / pszName).string(); }
    std::string Raw(const std::string& strVideo, const std::vector<std::string>& vMore = {}) const
    {
        std::vector<std::string> vArguments = {"frames", strVideo, "--raw", Target("raw.bgr")};
        vArguments.insert(vArguments.end(), vMore.begin(), vMore.end());
        Succeed(vArguments);
        return ReadText(m_folder / "raw.bgr");
    }

    UnicodeFolder m_folder;
};

TEST_F(Videos, CodecsAndQualitySteps)
{
    EXPECT_EQ(Succeed({"codecs"}), "MP4: MP4 Image File Format, *.mp4\n"
                                   "\n"
                                   "codec  code      name\n"
                                   "    0  HQ        H.264 High Quality\n"
                                   "    1  NQ        H.264 Normal Quality\n"
                                   "    2  LQ        H.264 Low Quality\n"
                                   "    3  FST       H.264 Fastest\n"
                                   "    4  AMF1      H.264 AMD VCE\n"
                                   "    5  NVENC1    H.264 Nvdia NVENC\n"
                                   "\n"
                                   "quality  name      value  parameter\n"
                                   "      0  Lowest        1  0.9\n"
                                   "      1  Low           1  0.6\n"
                                   "      2  Medium        1  0.3\n"
                                   "      3  High          1  0.15\n"
                                   "      4  Highest       1  0.05\n");
}

TEST_F(Videos, InfoOfASteadyVideo)
{
    const std::string strVideo = HighVideo();
    EXPECT_EQ(Succeed({"info", strVideo, "--json"}), "{\n"
                                                     "  \"file\": \"" +
                                                         strVideo +
                                                         "\",\n"
                                                         "  \"frames\": 60,\n"
                                                         "  \"width\": 66,\n"
                                                         "  \"height\": 48,\n"
                                                         "  \"first_time_ms\": 0,\n"
                                                         "  \"last_time_ms\": 2360,\n"
                                                         "  \"duration_ms\": 2360,\n"
                                                         "  \"mean_period_ms\": 40,\n"
                                                         "  \"times_of_video\": true,\n"
                                                         "  \"times_problem\": null,\n"
                                                         "  \"stream\": \"H.264 High (avc1, profile 100)\",\n"
                                                         "  \"profile\": 100,\n"
                                                         "  \"pictures_delivered\": true\n"
                                                         "}\n");
}

TEST_F(Videos, TimesAreTheSumsOfTheFilesDurations)
{
    for (const std::string& strVideo : {HighVideo(), IrregularVideo()})
    {
        const auto vTimes = FrameTimes(strVideo);
        EXPECT_EQ(vTimes.size(), std::size_t{FRAMES});
        EXPECT_EQ(Succeed({"times", strVideo, "--csv"}), CsvOf(vTimes)) << strVideo;
    }
}

TEST_F(Videos, IrregularTimesAreIrregular)  // or the test above would show little
{
    const auto vTimes = FrameTimes(IrregularVideo());
    EXPECT_NE(vTimes[1] - vTimes[0], vTimes[2] - vTimes[1]);
}

TEST_F(Videos, EveryFrameIsThePictureOfItsNumber)
{
    for (const std::string& strVideo : {HighVideo(), IrregularVideo()})
    {
        const auto vPictures = PicturesByFfmpeg(strVideo);
        const std::string strRaw = Raw(strVideo);
        ASSERT_EQ(vPictures.size(), std::size_t{FRAMES});
        ASSERT_EQ(strRaw.size(), FRAMES * VIDEO_FRAME_BYTES);
        for (std::size_t i = 0; i < FRAMES; ++i)
        {
            EXPECT_TRUE(Frame(strRaw, i) == vPictures[i]) << strVideo << " " << i;
        }
    }
}

TEST_F(Videos, NoTwoPicturesAreAlike)  // or the test above would show little
{
    for (const std::string& strVideo : {HighVideo(), IrregularVideo()})
    {
        const auto vPictures = PicturesByFfmpeg(strVideo);
        EXPECT_EQ(std::set<std::string>(vPictures.begin(), vPictures.end()).size(), vPictures.size());
    }
}

TEST_F(Videos, OrderOfTheListIsTheOrderOfTheRawFile)
{
    const std::string strAll = Raw(HighVideo());
    std::string strExpected;
    for (const std::size_t uiFrame : {59u, 0u, 5u, 7u, 8u, 9u, 10u, 50u, 40u, 30u, 20u, 10u, 0u, 5u})
        strExpected += Frame(strAll, uiFrame);
    EXPECT_EQ(Raw(HighVideo(), {"--frames", "59,0,5,7:10,50:0:-10,5"}), strExpected);
}

TEST_F(Videos, BackwardsAndForwardsGiveTheSamePictures)
{
    const std::string strForwards = Raw(HighVideo());
    const std::string strBackwards = Raw(HighVideo(), {"--frames", "59:0:-1"});
    ASSERT_EQ(strBackwards.size(), strForwards.size());
    for (std::size_t i = 0; i < FRAMES; ++i)
        EXPECT_EQ(Frame(strBackwards, FRAMES - 1 - i), Frame(strForwards, i)) << i;
}

TEST_F(Videos, ImageFilesHoldTheRawPictures)
{
    const std::string strAll = Raw(HighVideo());
    EXPECT_EQ(Succeed({"frames", HighVideo(), "--out", Target("png")}), "");
    EXPECT_EQ(Succeed({"frames", HighVideo(), "--out", Target("tiff"), "--format", "tiff", "--frames", "58,3"}), "");
    for (std::size_t i = 0; i < FRAMES; ++i)
    {
        const std::string strNumber = (i < 10 ? "00000" : "0000") + std::to_string(i);
        EXPECT_EQ(PixelsOf(m_folder / "png" / ("frame_" + strNumber + ".png")), Frame(strAll, i)) << i;
    }
    EXPECT_EQ(PixelsOf(m_folder / "tiff" / "frame_000003.tif"), Frame(strAll, 3));
    EXPECT_EQ(PixelsOf(m_folder / "tiff" / "frame_000058.tif"), Frame(strAll, 58));
    EXPECT_EQ(ReadText(m_folder / "png" / "times.csv"), Succeed({"times", HighVideo(), "--csv"}));
    EXPECT_EQ(ReadText(m_folder / "tiff" / "times.csv"), "frame,time_ms\n3,120\n58,2320\n");
}

TEST_F(Videos, PreviewAtNativeSizeIsTheFirstFrame)
{
    Succeed({"preview", HighVideo(), "--size", "66x48", "--out", Target("p.png")});
    EXPECT_EQ(PixelsOf(m_folder / "p.png"), Frame(Raw(HighVideo(), {"--frames", "0"}), 0));
}

TEST_F(Videos, PreviewAtOtherSizes)
{
    for (const auto& [strSize, uiWidth, uiHeight] :
         {std::tuple{"2x2", 2u, 2u}, {"33x24", 33u, 24u}, {"101x67", 101u, 67u}})
    {
        Succeed({"preview", HighVideo(), "--size", strSize, "--auto-contrast", "--out", Target("p.png")});
        const std::string text = ReadText(m_folder / "p.png");
        const DecodedImage image = DecodeImage({text.begin(), text.end()});
        EXPECT_EQ(image.m_uiWidth, uiWidth);
        EXPECT_EQ(image.m_uiHeight, uiHeight);
        const auto [pDarkest, pBrightest] = std::minmax_element(image.m_vBgr.begin(), image.m_vBgr.end());
        EXPECT_LT(*pDarkest, *pBrightest);  // a picture, not a blank
    }
}

TEST_F(Videos, SingleFrame)
{
    const std::string strVideo = MakeVideoFile({"one.mp4", 1, "-c:v libx264 -profile:v high"});
    EXPECT_THAT(Succeed({"info", strVideo, "--json"}), HasSubstr("\"mean_period_ms\": null"));
    EXPECT_EQ(Succeed({"times", strVideo, "--csv"}), "frame,time_ms\n0,0\n");
    EXPECT_EQ(Raw(strVideo).size(), VIDEO_FRAME_BYTES);
}

TEST_F(Videos, BaselineIsRefusedInPlainWords)
{
    const ProgramResult result = Run({"frames", BaselineVideo(), "--out", Target("d")});
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_THAT(result.m_strErr, HasSubstr("pictures are delivered for H.264 High profile and above only"));
    EXPECT_THAT(result.m_strErr, HasSubstr("Baseline (avc1, profile 66)"));
    EXPECT_EQ(m_folder.Names().size(), 0u);
    EXPECT_THAT(Succeed({"info", BaselineVideo()}), HasSubstr("not delivered for this profile: frames are blank"));
    EXPECT_EQ(Succeed({"times", BaselineVideo(), "--csv"}), CsvOf(FrameTimes(BaselineVideo())));
}

TEST_F(Videos, BaselineIsBlankWhenAllowed)
{
    EXPECT_EQ(Raw(BaselineVideo(), {"--allow-blank"}), std::string(10 * VIDEO_FRAME_BYTES, '\0'));
}

TEST_F(Videos, OtherCodingsAreRefused)
{
    const ProgramResult result = Run({"frames", MakeVideoFile({"mpeg4.mp4", 5, "-c:v mpeg4"}), "--out", Target("d")});
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_THAT(result.m_strErr, HasSubstr("is mp4v, not H.264"));
}

TEST_F(Videos, WhatIsNoVideoIsRefused)
{
    WriteText(m_folder / "text.mp4", "This is no video.\n");
    WriteText(m_folder / "empty.mp4", "");
    const std::string strFailed = "qmhost: GetImageAttributes failed with status -9 (general failure): '";
    const std::pair<std::string, std::string> aCases[] = {
        {Target("text.mp4"), "' can't be opened as MP4 video\n"},
        {Target("empty.mp4"), "' can't be opened as MP4 video\n"},
        {Target("missing.mp4"), "' doesn't exist\n"},
        {m_folder.Path().string(), "' is a directory\n"},
    };
    for (const auto& [strPath, strReason] : aCases)
    {
        for (const std::vector<std::string>& vArguments :
             {std::vector<std::string>{"info", strPath}, {"times", strPath}, {"frames", strPath, "--raw", Target("r")}})
        {
            const ProgramResult result = Run(vArguments);
            EXPECT_EQ(result.m_nStatus, 1);
            EXPECT_EQ(result.m_strErr, strFailed + strPath + strReason);
        }
    }
}

// --- damaged videos ---

// A copy in which the bytes of one picture are zero, counted in decoding order.
std::string WithZeroedPicture(const std::string& strVideo, const std::string& strCopy, std::size_t uiPicture)
{
    const auto uiSize = static_cast<std::size_t>(PacketValues(strVideo, "size").at(uiPicture));
    const auto uiPosition = static_cast<std::size_t>(PacketValues(strVideo, "pos").at(uiPicture));
    std::string bytes = ReadText(strVideo);
    bytes.replace(uiPosition, uiSize, std::string(uiSize, '\0'));
    WriteText(strCopy, bytes);
    return strCopy;
}

// Every picture depends on itself alone.
std::string IntraVideo()
{
    return MakeVideoFile({"intra.mp4", 120, "-c:v libx264 -profile:v high -bf 0 -g 1 -qp 8"});
}

std::string PictureFile(int nFrame)
{
    return "frame_" + std::to_string(1'000'000 + nFrame).substr(1) + ".png";
}

std::string LostFrame(int nFrame, const std::string& strVideo)
{
    return "qmhost: ReadFrame failed with status -9 (general failure): frame " + std::to_string(nFrame) + " of '" +
           strVideo + "'\n";
}

TEST_F(Videos, DamagedPictureEndsTheCommand)
{
    const std::string strDamaged = WithZeroedPicture(IntraVideo(), Target("damaged.mp4"), 80);
    const ProgramResult result = Run({"frames", strDamaged, "--out", Target("d")});
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_EQ(result.m_strErr, LostFrame(80, strDamaged));
    EXPECT_TRUE(fs::exists(m_folder / "d" / PictureFile(79)));
    EXPECT_FALSE(fs::exists(m_folder / "d" / PictureFile(81)));
}

TEST_F(Videos, KeepGoingReadsEveryFrameButTheDamagedOne)
{
    const auto vPictures = PicturesByFfmpeg(IntraVideo());
    const std::string strDamaged = WithZeroedPicture(IntraVideo(), Target("damaged.mp4"), 80);
    const ProgramResult result = Run({"frames", strDamaged, "--out", Target("d"), "--keep-going"});
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_EQ(result.m_strErr, LostFrame(80, strDamaged) +
                                   "qmhost: frames failed with status -9 (general failure): 1 of 120 frames of '" +
                                   strDamaged + "' couldn't be read and are left out\n");
    std::string strTimes = "frame,time_ms\n";
    for (int i = 0; i < 120; ++i)
    {
        const fs::path path = m_folder / "d" / PictureFile(i);
        ASSERT_EQ(fs::exists(path), i != 80) << i;
        if (i == 80) continue;
        EXPECT_TRUE(PixelsOf(path) == vPictures[static_cast<std::size_t>(i)]) << i;
        strTimes += std::to_string(i) + "," + std::to_string(40 * i) + "\n";
    }
    EXPECT_EQ(ReadText(m_folder / "d" / "times.csv"), strTimes);
}

// The module gives up a file object when damage ends its first play, so more frames may be lost than are damaged. No
// frame gets a wrong picture, and each is either written or reported.
TEST_F(Videos, KeepGoingWithDamageAtTheBeginning)
{
    const auto vPictures = PicturesByFfmpeg(IntraVideo());
    const std::string strDamaged = WithZeroedPicture(IntraVideo(), Target("damaged.mp4"), 5);
    const ProgramResult result =
        Run({"frames", strDamaged, "--out", Target("d"), "--keep-going", "--frames", "0:7,60"});
    EXPECT_EQ(result.m_nStatus, 1);
    std::string strTimes = "frame,time_ms\n";
    std::string strLost;
    for (const int i : {0, 1, 2, 3, 4, 5, 6, 7, 60})
    {
        const fs::path path = m_folder / "d" / PictureFile(i);
        if (!fs::exists(path))
        {
            strLost += LostFrame(i, strDamaged);
            continue;
        }
        EXPECT_NE(i, 5);
        EXPECT_TRUE(PixelsOf(path) == vPictures[static_cast<std::size_t>(i)]) << i;
        strTimes += std::to_string(i) + "," + std::to_string(40 * i) + "\n";
    }
    EXPECT_EQ(result.m_strErr.substr(0, strLost.size()), strLost);
    EXPECT_FALSE(strLost.empty());
    EXPECT_EQ(ReadText(m_folder / "d" / "times.csv"), strTimes);
}

// --- lists of times that aren't the video's ---

class VideosWithOtherTimes : public Videos
{
protected:
    // The video of HighVideo() in another file, with sound: strMaps puts the tracks in order.
    std::string WithSound(const char* pszName, const std::string& strMaps, const std::string& strMore = "") const
    {
        RunFfmpeg("-i " + Quoted(HighVideo()) + " -f lavfi -i sine=frequency=440:duration=2.4:sample_rate=44100 " +
                  strMaps + " -c:v copy -c:a aac " + strMore + " " + Quoted(Target(pszName)));
        return Target(pszName);
    }
    std::string InFragments(const char* pszName, const std::string& strFlags) const
    {
        RunFfmpeg("-i " + Quoted(HighVideo()) + " -c copy -movflags " + strFlags + " " + Quoted(Target(pszName)));
        return Target(pszName);
    }

    // Pictures by index are refused and nothing is written; info and times give their results and a warning.
    void ExpectRefused(const std::string& strVideo, const std::string& strProblem) const
    {
        const std::string strLine = strProblem + ": ffmpeg -i '" + strVideo + "' -map 0:v -c copy OUT.mp4";
        for (const char* pszOption : {"--out", "--raw"})
        {
            const ProgramResult frames = Run({"frames", strVideo, pszOption, Target("frames")});
            EXPECT_EQ(frames.m_nStatus, 1);
            EXPECT_EQ(frames.m_strErr, "qmhost: frames failed with status -1506 (not supported by this format): " +
                                           strLine + "; --allow-foreign-times goes on without that\n");
        }
        EXPECT_FALSE(fs::exists(m_folder / "frames"));

        const std::string strWarning = "qmhost: warning: " + strLine + "\n";
        const ProgramResult times = Run({"times", strVideo, "--csv"});
        EXPECT_EQ(times.m_nStatus, 0);
        EXPECT_EQ(times.m_strErr, strWarning);
        EXPECT_THAT(times.m_strOut, testing::StartsWith("frame,time_ms\n0,0\n"));
        const ProgramResult info = Run({"info", strVideo, "--json"});
        EXPECT_EQ(info.m_nStatus, 0);
        EXPECT_EQ(info.m_strErr, strWarning);
        EXPECT_THAT(info.m_strOut, HasSubstr("\n  \"times_of_video\": false,\n  \"times_problem\": \"" + strLine));

        const ProgramResult forced =
            Run({"frames", strVideo, "--raw", Target("raw.bgr"), "--frames", "0", "--allow-foreign-times"});
        EXPECT_EQ(forced.m_nStatus, 0);
        EXPECT_EQ(forced.m_strErr, strWarning);
        EXPECT_EQ(ReadText(m_folder / "raw.bgr"), Raw(HighVideo(), {"--frames", "0"}));
    }

    // The command that the message names makes a file whose frames and times are the video's.
    void ExpectHelped(const std::string& strVideo) const
    {
        RunFfmpeg("-i '" + strVideo + "' -map 0:v -c copy '" + Target("OUT.mp4") + "'");
        ExpectWhole(Target("OUT.mp4"));
    }
    void ExpectWhole(const std::string& strVideo) const
    {
        EXPECT_EQ(Raw(strVideo), Raw(HighVideo()));
        EXPECT_EQ(Raw(strVideo, {"--frames", "59,3,40:2:-19"}), Raw(HighVideo(), {"--frames", "59,3,40:2:-19"}));
        EXPECT_EQ(Succeed({"times", strVideo, "--csv"}), Succeed({"times", HighVideo(), "--csv"}));
    }
};

TEST_F(VideosWithOtherTimes, SoundInFrontIsRefused)
{
    const std::string strVideo = WithSound("soundfirst.mp4", "-map 1:a -map 0:v");
    ExpectRefused(strVideo, "the times and the number of frames of '" + strVideo +
                                "' aren't those of its video: its first track is a sound track; a copy of the video "
                                "alone has the right ones");
    ExpectHelped(strVideo);
}

TEST_F(VideosWithOtherTimes, PreviewWithSoundInFrontIsTheFirstPicture)
{
    Succeed({"preview", WithSound("soundfirst.mp4", "-map 1:a -map 0:v"), "--size", "66x48", "--out", Target("p.png")});
    EXPECT_EQ(PixelsOf(m_folder / "p.png"), Raw(HighVideo(), {"--frames", "0"}));
}

TEST_F(VideosWithOtherTimes, SoundBehindTheVideoIsTaken)
{
    ExpectWhole(WithSound("soundlast.mp4", "-map 0:v -map 1:a"));
}

TEST_F(VideosWithOtherTimes, FragmentsAfterACompleteIndexAreRefused)
{
    const std::string strVideo = InFragments("fragments.mp4", "+frag_keyframe+default_base_moof");
    ExpectRefused(strVideo, "only the first 12 pictures of '" + strVideo +
                                "' have times, more follow in fragments after its index; a copy with a new index has "
                                "them all");
    ExpectHelped(strVideo);
}

TEST_F(VideosWithOtherTimes, SoundInFrontAndFragmentsAfterACompleteIndexAreRefused)
{
    const std::string strVideo = WithSound("both.mp4", "-map 1:a -map 0:v", "-movflags +frag_keyframe");
    ExpectRefused(strVideo, "the times and the number of frames of '" + strVideo +
                                "' aren't those of its video: its first track is a sound track; a copy of the video "
                                "alone has the right ones");
    ExpectHelped(strVideo);
}

// Without an index the module counts the pictures of the video itself.
TEST_F(VideosWithOtherTimes, FragmentsAfterAnEmptyIndexAreTaken)
{
    ExpectWhole(InFragments("fragments.mp4", "+frag_keyframe+empty_moov+default_base_moof"));
    ExpectWhole(WithSound("both.mp4", "-map 1:a -map 0:v", "-movflags +frag_keyframe+empty_moov"));
}

TEST_F(Videos, FrameBeyondTheLast)
{
    const ProgramResult result = Run({"frames", HighVideo(), "--raw", Target("r"), "--frames", "0:60"});
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_THAT(result.m_strErr, HasSubstr("there is no frame 60 in '"));
    EXPECT_EQ(m_folder.Names().size(), 0u);
}

}  // namespace
