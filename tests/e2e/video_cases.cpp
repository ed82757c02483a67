#include "video_cases.h"

#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/mp4_boxes.h"

namespace e2e
{

namespace
{

std::string Pictures(const std::string& strRate, unsigned int uiCount, const std::string& strSize = "96x64")
{
    return "-f lavfi -i testsrc2=size=" + strSize + ":rate=" + strRate + " -frames:v " + std::to_string(uiCount);
}

// 200 pictures: distances of about 40 ms that never repeat, and one gap of ten seconds.
std::string IrregularPictures()
{
    return Pictures("25", 200) + " -vf \"settb=1/90000,setpts='N*3600+mod(N*N*977,3100)+gt(N,100)*900000'\""
                                 " -enc_time_base 1/90000 -fps_mode passthrough";
}

std::string X264(unsigned int uiKeyInterval, unsigned int uiBPictures)
{
    return " -c:v libx264 -preset veryfast -profile:v high -pix_fmt yuv420p -g " + std::to_string(uiKeyInterval) +
           " -bf " + std::to_string(uiBPictures);
}

std::vector<VideoCase> MakeCases()
{
    std::vector<VideoCase> vCases;
    for (const unsigned int uiKeyInterval : {1u, 12u, 250u})
    {
        for (const unsigned int uiBPictures : {0u, 3u})
        {
            const std::string strKind =
                "_Key" + std::to_string(uiKeyInterval) + (uiBPictures != 0 ? "_BPictures" : "_NoBPictures");
            const std::string strEncoder = X264(uiKeyInterval, uiBPictures);
            vCases.push_back({"Constant25" + strKind, Pictures("25", 200), strEncoder});
            vCases.push_back({"Constant29_97" + strKind, Pictures("30000/1001", 200), strEncoder});
            vCases.push_back({"Irregular" + strKind, IrregularPictures(), strEncoder});
        }
    }
    const std::string strEncoder = X264(12, 3);
    vCases.push_back({"MoovInFront", Pictures("25", 200), strEncoder + " -movflags +faststart"});
    vCases.push_back({"SecondTrackAudio", "-f lavfi -i sine=frequency=440:duration=4 " + Pictures("25", 100),
                      "-map 1:v -map 0:a -c:a aac" + strEncoder});
    // Pictures of this size are decoded on several threads.
    vCases.push_back({"Large_Key12_BPictures", Pictures("25", 120, "480x352"), strEncoder, 1, 480, 352});
    vCases.push_back({"Large_Key250_NoBPictures", Pictures("25", 120, "480x352"), X264(250, 0), 1, 480, 352});
    vCases.push_back({"OneFrame", Pictures("25", 1), strEncoder});
    vCases.push_back({"Timescale1", Pictures("1", 120), strEncoder + " -video_track_timescale 1"});
    vCases.push_back({"Timescale90000", Pictures("25", 120), strEncoder + " -video_track_timescale 90000"});
    for (const std::uint32_t uiFactor : {100u, 1000u, 100000u})
    {
        vCases.push_back(
            {"ManyFramesAMillisecond_Factor" + std::to_string(uiFactor), Pictures("25", 120), X264(30, 3), uiFactor});
    }
    return vCases;
}

}  // namespace

const std::vector<VideoCase>& HighProfileCases()
{
    static const std::vector<VideoCase> vCases = MakeCases();
    return vCases;
}

void MakeVideo(const VideoCase& video, const std::filesystem::path& path)
{
    test_support::MakeWithFfmpeg(video.m_strInput + " " + video.m_strOptions, path);
    if (video.m_uiTimescaleFactor == 1) return;
    std::vector<std::uint8_t> vFile = test_support::ReadBytes(path);
    const std::size_t uiTimescale = test_support::FindBox(vFile, "moov/trak/mdia/mdhd").m_uiPayload + 12;
    SetWordAt(vFile, uiTimescale, WordAt(vFile, uiTimescale) * video.m_uiTimescaleFactor);
    test_support::WriteBytes(path, vFile);
}

}  // namespace e2e
