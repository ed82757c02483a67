#include "video_folder.h"

#include "support/ffmpeg.h"
#include "unicode_folder.h"

using namespace test_support;

std::string MakeVideoFile(const VideoKind& kind)
{
    static const UnicodeFolder folder;
    const std::filesystem::path path =
        folder / std::filesystem::path(std::u8string(kind.m_strName.begin(), kind.m_strName.end()));
    if (std::filesystem::exists(path)) return path.string();

    // A bright square that walks over moving colours: no two pictures are alike.
    const std::string strSize = std::to_string(VIDEO_WIDTH) + "x" + std::to_string(VIDEO_HEIGHT);
    MakeWithFfmpeg("-f lavfi -i testsrc2=size=" + strSize +
                       ":rate=25 -f lavfi -i color=white:size=8x8:rate=25 "
                       "-filter_complex \"[0:v]eq=brightness=-0.1[a];"
                       "[a][1:v]overlay=x='mod(8*n,58)':y='mod(8*trunc(8*n/58),40)'\" -frames:v " +
                       std::to_string(kind.m_nFrames) + " -threads 1 -pix_fmt yuv420p " + kind.m_strArguments,
                   path);
    return path.string();
}
