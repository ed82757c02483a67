#include "video_folder.h"

#include <sstream>
#include <stdexcept>

#include "run_program.h"
#include "temporary_folder.h"

namespace
{

const TemporaryFolder& Folder()
{
    static const TemporaryFolder folder;
    return folder;
}

std::string Succeed(const char* pszProgram, const std::vector<std::string>& vArguments)
{
    const ProgramResult result = RunProgram(pszProgram, vArguments);
    if (result.m_nStatus != 0) throw std::runtime_error(pszProgram + (": " + result.m_strErr));
    return result.m_strOut;
}

}  // namespace

std::string MakeVideoFile(const VideoKind& kind)
{
    const std::filesystem::path path =
        Folder() / std::filesystem::path(std::u8string(kind.m_strName.begin(), kind.m_strName.end()));
    if (std::filesystem::exists(path)) return path.string();

    // A bright square that walks over moving colours: no two pictures are alike.
    const std::string strSize = std::to_string(VIDEO_WIDTH) + "x" + std::to_string(VIDEO_HEIGHT);
    std::vector<std::string> vArguments = {
        "-v",
        "error",
        "-f",
        "lavfi",
        "-i",
        "testsrc2=size=" + strSize + ":rate=25",
        "-f",
        "lavfi",
        "-i",
        "color=white:size=8x8:rate=25",
        "-filter_complex",
        "[0:v]eq=brightness=-0.1[a];[a][1:v]overlay=x='mod(8*n,58)':y='mod(8*trunc(8*n/58),40)'",
        "-frames:v",
        std::to_string(kind.m_nFrames),
        "-threads",
        "1",
        "-pix_fmt",
        "yuv420p"};
    vArguments.insert(vArguments.end(), kind.m_vArguments.begin(), kind.m_vArguments.end());
    vArguments.push_back(path.string());
    Succeed("ffmpeg", vArguments);
    return path.string();
}

std::vector<std::int64_t> TimesByFfprobe(const std::string& strPath)
{
    const auto probe = [&](const std::string& strEntries) {
        return Succeed("ffprobe", {"-v", "error", "-select_streams", "v:0", "-show_entries", strEntries, "-of",
                                   "default=noprint_wrappers=1:nokey=1", strPath});
    };
    std::string strTimeBase = probe("stream=time_base");  // 1/15360
    const std::int64_t nScale = std::stoll(strTimeBase.substr(strTimeBase.find('/') + 1));
    std::istringstream lines(probe("packet=dts"));
    std::vector<std::int64_t> vTicks;
    for (std::int64_t nTicks = 0; lines >> nTicks;)
        vTicks.push_back(nTicks);
    std::vector<std::int64_t> vTimes;
    for (const std::int64_t nTicks : vTicks)
        vTimes.push_back((nTicks - vTicks.front()) * 1000 / nScale);
    return vTimes;
}
