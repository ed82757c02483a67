// qmhost write: pictures and their times become an MP4 file.
#include "command.h"

#include <algorithm>
#include <iostream>
#include <optional>

#include "options.h"
#include "outputvideo.h"
#include "parts/evenpicture.h"
#include "parts/failure.h"
#include "parts/picturesource.h"
#include "parts/progress.h"
#include "parts/repair.h"
#include "parts/text.h"
#include "parts/timesfile.h"

namespace qmhost
{
namespace
{

constexpr const char* COMMAND = "write";

// The row of the codec table that has this code.
std::uint32_t FindCodec(IQmImageFormat& format, const std::string& strCode)
{
    std::string strKnown;
    const std::uint32_t uiCount = format.BuildCodecTable();
    for (std::uint32_t i = 0; i < uiCount; ++i)
    {
        SQmCodecInfo info{};
        Require(format.GetCodecInfo(i, &info), "GetCodecInfo", "row " + std::to_string(i));
        const std::string strRow = Utf8FromWide(info.m_wszCode);
        if (strRow == strCode) return i;
        strKnown += (strKnown.empty() ? "" : ", ") + strRow;
    }
    throw Failure(COMMAND, QM_ERR_RANGE, "there is no codec " + Quoted(strCode) + ", only " + strKnown);
}

// The times of uiCount pictures, from a file or a steady period.
class FrameTimes
{
public:
    FrameTimes(const std::optional<std::string>& strFile, double dPeriodMs, std::uint32_t uiCount)
        : m_dPeriodMs(dPeriodMs)
    {
        if (!strFile) return;
        m_vTimes = ReadTimesFile(PathFromUtf8(*strFile));
        if (m_vTimes.size() != uiCount)
        {
            throw std::runtime_error(Quoted(*strFile) + " has " + std::to_string(m_vTimes.size()) + " times for " +
                                     std::to_string(uiCount) + " pictures");
        }
        for (std::size_t i = 1; i < m_vTimes.size(); ++i)
        {
            if (m_vTimes[i] >= m_vTimes[i - 1]) continue;
            Warn("times of " + Quoted(*strFile) + " run backwards at entry " + std::to_string(i));
            break;
        }
    }

    double operator[](std::uint32_t uiFrame) const
    {
        return m_vTimes.empty() ? uiFrame * m_dPeriodMs : m_vTimes[uiFrame];
    }

private:
    std::vector<double> m_vTimes;  // empty with a steady period
    double m_dPeriodMs;
};

SQmImageAttributes AttributesOf(const EvenPicture& picture, std::uint32_t uiCount)
{
    SQmImageAttributes attributes;
    attributes.m_uiWidth = picture.Width();
    attributes.m_uiWidthBytes = picture.WidthBytes();
    attributes.m_uiHeight = picture.Height();
    attributes.m_uiComponents = 3;
    attributes.m_uiBitsInMemory = 8;
    attributes.m_uiBitsSignificant = 8;
    attributes.m_uiSequenceCount = uiCount;
    return attributes;
}

// Whether the module muxes a codec's files itself. Such a file gives its length as a tenth of what it is.
bool IsMuxedByModule(const std::string& strCode)
{
    return strCode == "NVENC1" || strCode == "AMF1";
}

void WriteFrames(OutputVideo& video, PictureSource& source, const FrameTimes& times, EvenPicture& picture)
{
    ProgressBar progress(IsTerminalOnStderr() ? &std::cerr : nullptr, source.Count());
    for (std::uint32_t uiFrame = 0; uiFrame < source.Count(); ++uiFrame)
    {
        try
        {
            source.ReadNext(picture.Pixels(), picture.WidthBytes());
        }
        catch (const std::runtime_error& e)
        {
            throw std::runtime_error(std::string(e.what()) + "; " + video.Abandon());
        }
        picture.Complete();
        video.WriteFrame(times[uiFrame], picture.Pixels());
        progress.Step();
    }
}

class WriteCommand : public Command
{
public:
    CLI::App* Declare(CLI::App& program) override
    {
        CLI::App* pApp = program.add_subcommand("write", "Writes pictures and their times as an MP4 file");
        // With this ending required, the first picture isn't overwritten when the user forgets the target before it.
        pApp->add_option("OUT.mp4", m_strOut, "MP4 file to write, named *.mp4")
            ->type_name("")
            ->required()
            ->check(TargetProblem, "");
        pApp->add_option("--codec", m_strCodec, "Code of the codec, as qmhost codecs lists them")
            ->type_name("CODE")
            ->required();

        CLI::Option_group* pPictures = pApp->add_option_group("pictures", "What is written (exactly one)");
        pPictures
            ->add_option("IMAGES", m_vImages,
                         "PNG and TIFF files of one size, or folders of such; every page is a frame")
            ->type_name("");
        CLI::Option* pRaw =
            pPictures->add_option("--raw", m_strRaw, "File of bare 24-bit rows B, G, R, frame after frame")
                ->type_name("FRAMES.bgr");
        pPictures->require_option(1);
        CLI::Option* pSize =
            pApp->add_option("--size", m_strSize, "Width and height of the raw frames, such as 640x360")
                ->type_name("WxH")
                ->check(PictureSizeProblem, "")
                ->needs(pRaw);
        pRaw->needs(pSize);

        CLI::Option_group* pTimes = pApp->add_option_group("times", "When the frames are (exactly one)");
        pTimes
            ->add_option("--times", m_strTimes,
                         "File of lines frame,time_ms as qmhost frames writes it, one for each picture")
            ->type_name("FILE.csv");
        pTimes->add_option("--period", m_dPeriodMs, "Milliseconds from frame to frame, the first at 0")
            ->type_name("MS")
            ->check(PeriodProblem, "");
        pTimes->require_option(1);
        pApp->add_flag("--repair", m_bRepair,
                       "Then repair the file, as qmhost repair does, if NVENC1 or AMF1 wrote it");
        return pApp;
    }

    void Run(const Session& session) override
    {
        const std::uint32_t uiCodec = FindCodec(session.Format(), m_strCodec);
        const auto pSource = OpenPictures();
        const FrameTimes times(m_strTimes, m_dPeriodMs, pSource->Count());
        EvenPicture picture(pSource->Size());
        for (const std::string& warning : pSource->Warnings())
            Warn(warning);
        const auto [uiWidth, uiHeight] = pSource->Size();
        if (uiWidth != picture.Width() || uiHeight != picture.Height())
        {
            Warn("pictures of " + std::to_string(uiWidth) + " x " + std::to_string(uiHeight) + " become " +
                 std::to_string(picture.Width()) + " x " + std::to_string(picture.Height()) +
                 ", since H.264 takes even sides only");
        }
        OutputVideo video(session, m_strOut, uiCodec, AttributesOf(picture, pSource->Count()));
        WriteFrames(video, *pSource, times, picture);
        video.Close([this] { Complete(); });
        if (IsMuxedByModule(m_strCodec) && !m_bRepair)
        {
            std::cerr << "qmhost: " << Quoted(m_strOut)
                      << " opens in this module as it is; ffmpeg and browsers play a tenth of its length, unless it is "
                         "repaired: qmhost repair, or write --repair\n";
        }
    }

private:
    void Complete() const
    {
        if (!m_bRepair || !IsMuxedByModule(m_strCodec)) return;
        const auto path = PathFromUtf8(m_strOut);
        try
        {
            PrintReport(RepairFile(path, path, {}));
        }
        catch (const std::runtime_error& e)
        {
            throw std::runtime_error(Quoted(m_strOut) + " is written and finished, but isn't repaired: " + e.what() +
                                     "; qmhost repair makes a repaired copy, elsewhere too");
        }
    }

    std::unique_ptr<PictureSource> OpenPictures() const
    {
        if (m_strRaw) return OpenRawPictures(PathFromUtf8(*m_strRaw), *ParsePictureSize(m_strSize));
        std::vector<std::filesystem::path> vPaths;
        for (const std::string& strImage : m_vImages)
            vPaths.push_back(PathFromUtf8(strImage));
        return OpenImageFiles(vPaths);
    }

    std::string m_strOut;
    std::string m_strCodec;
    std::vector<std::string> m_vImages;
    std::optional<std::string> m_strRaw;
    std::string m_strSize;
    std::optional<std::string> m_strTimes;
    double m_dPeriodMs = 0;
    bool m_bRepair = false;
};

}  // namespace

std::unique_ptr<Command> MakeWriteCommand()
{
    return std::make_unique<WriteCommand>();
}

}  // namespace qmhost
