#include "support/ffmpeg.h"

#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "support/run_program.h"
#include "support/sha256.h"
#include "support/temporary_folder.h"

namespace test_support
{

namespace
{

std::vector<std::string> Split(const std::string& strArguments)
{
    std::vector<std::string> vArguments;
    char cQuote = '\0';
    bool bInArgument = false;
    for (const char c : strArguments)
    {
        const bool bBlank = c == ' ' && cQuote == '\0';
        if (!bBlank && !bInArgument) vArguments.emplace_back();
        bInArgument = !bBlank;
        if (bBlank) continue;
        if (cQuote == '\0' && (c == '"' || c == '\''))
            cQuote = c;
        else if (c == cQuote)
            cQuote = '\0';
        else
            vArguments.back() += c;
    }
    return vArguments;
}

std::string Run(const std::string& strProgram, const std::string& strArguments, Complaints allowed)
{
    const char* const pszLevel = allowed == Complaints::None ? "-v warning " : "-v error ";
    const ProgramResult result = RunProgram(strProgram, Split(pszLevel + strArguments));
    if (result.m_nStatus != 0 || (allowed != Complaints::Any && !result.m_strErr.empty()))
    {
        throw std::runtime_error(strProgram + " " + strArguments + "\nends with status " +
                                 std::to_string(result.m_nStatus) + "\n" + result.m_strErr);
    }
    return result.m_strOut;
}

std::vector<std::int64_t> Values(const std::filesystem::path& path, const std::string& strEntry)
{
    std::istringstream lines(RunFfprobe("-select_streams v:0 -of default=noprint_wrappers=1:nokey=1 -show_entries " +
                                        strEntry + " " + WholeTrack(path)));
    std::vector<std::int64_t> vValues;
    for (std::int64_t nValue = 0; lines >> nValue;)
    {
        vValues.push_back(nValue);
    }
    if (!lines.eof()) throw std::runtime_error("no " + strEntry + " everywhere in " + path.string());
    return vValues;
}

}  // namespace

std::string RunFfmpeg(const std::string& strArguments, Complaints allowed)
{
    return Run("ffmpeg", "-nostdin -y " + strArguments, allowed);
}

std::string RunFfprobe(const std::string& strArguments, Complaints allowed)
{
    return Run("ffprobe", strArguments, allowed);
}

void MakeWithFfmpeg(const std::string& strArguments, const std::filesystem::path& path)
{
    const char* const pszFolder = std::getenv("QM_MADE_FILES");
    if (pszFolder == nullptr || *pszFolder == '\0')
    {
        RunFfmpeg(strArguments + " " + Quoted(path));
        return;
    }
    namespace fs = std::filesystem;
    const fs::path folder = pszFolder;
    const std::string strExtension = path.extension().string();  // ffmpeg goes by it
    const fs::path made = folder / (Sha256(Bytes(strArguments.begin(), strArguments.end())) + strExtension);
    if (!fs::exists(made))
    {
        // Another program may be making it too. A file has its name once it is whole.
        fs::create_directories(folder);
        const TemporaryFolder own(folder / "making-");
        const fs::path file = own / ("file" + strExtension);
        RunFfmpeg(strArguments + " " + Quoted(file));
        fs::rename(file, made);
    }
    WriteBytes(path, ReadBytes(made));
}

std::string Quoted(const std::filesystem::path& path)
{
    const std::u8string strPath = path.u8string();
    return '"' + std::string(strPath.begin(), strPath.end()) + '"';
}

std::string WholeTrack(const std::filesystem::path& path)
{
    // Only the reader of these containers knows the option.
    const bool bMp4 = path.extension() == ".mp4" || path.extension() == ".mov";
    return (bMp4 ? "-ignore_editlist 1 -i " : "-i ") + Quoted(path);
}

std::vector<Bytes> DecodePlain(const std::filesystem::path& path, const std::string& strOptions,
                               std::size_t uiPictureBytes, Complaints allowed)
{
    const std::string strAll =
        RunFfmpeg(WholeTrack(path) + " -map 0:v:0 -fps_mode passthrough " + strOptions + " -f rawvideo -", allowed);
    if (strAll.size() % uiPictureBytes != 0) throw std::runtime_error("pictures of another size in " + path.string());
    std::vector<Bytes> vPictures;
    const auto* const pAll = reinterpret_cast<const std::uint8_t*>(strAll.data());
    for (std::size_t ui = 0; ui < strAll.size(); ui += uiPictureBytes)
    {
        vPictures.emplace_back(pAll + ui, pAll + ui + uiPictureBytes);
    }
    return vPictures;
}

std::vector<Bytes> DecodePlain(const std::filesystem::path& path, std::size_t uiWidth, std::size_t uiHeight)
{
    return DecodePlain(path, "-pix_fmt yuv420p", uiWidth * uiHeight + 2 * ((uiWidth + 1) / 2) * ((uiHeight + 1) / 2));
}

std::vector<std::int64_t> PacketValues(const std::filesystem::path& path, const std::string& strEntry)
{
    return Values(path, "packet=" + strEntry);
}

std::vector<std::int64_t> PictureValues(const std::filesystem::path& path, const std::string& strEntry)
{
    return Values(path, "frame=" + strEntry);
}

std::vector<std::int64_t> FrameTimes(const std::filesystem::path& path)
{
    std::istringstream timeBase(
        RunFfprobe("-select_streams v:0 -of default=noprint_wrappers=1:nokey=1 -show_entries stream=time_base " +
                   WholeTrack(path)));
    std::int64_t nNumerator = 0;
    std::int64_t nDenominator = 0;
    char cSlash = '\0';
    timeBase >> nNumerator >> cSlash >> nDenominator;
    if (nDenominator <= 0) throw std::runtime_error("no time base in " + path.string());

    std::vector<std::int64_t> vTimes = PacketValues(path, "dts");
    const std::int64_t nFirst = vTimes.empty() ? 0 : vTimes.front();
    for (std::int64_t& nTime : vTimes)
    {
        nTime = (nTime - nFirst) * nNumerator * 1000 / nDenominator;
    }
    return vTimes;
}

}  // namespace test_support
