// qmhost frames: pictures of frames as image files or as raw bytes.
#include "command.h"

#include <iostream>
#include <optional>

#include "parts/failure.h"
#include "parts/framelist.h"
#include "parts/imagefile.h"
#include "parts/outputfile.h"
#include "parts/picturename.h"
#include "parts/progress.h"
#include "parts/text.h"
#include "pictures.h"

namespace qmhost
{
namespace
{

constexpr const char* COMMAND = "frames";

std::string FrameListProblem(const std::string& text)
{
    try
    {
        FrameList::Parse(text);
        return {};
    }
    catch (const FrameListError& e)
    {
        return e.what();
    }
}

// The frames that are wanted, all of them in the file.
FrameList ChooseFrames(const InputFile& file, const std::string& strList)
{
    if (strList.empty()) return FrameList::All(file.FrameCount());
    FrameList list = FrameList::Parse(strList);
    if (list.Largest() >= file.FrameCount())
    {
        throw Failure(COMMAND, QM_ERR_RANGE,
                      "there is no frame " + std::to_string(list.Largest()) + " in " + Quoted(file.Path()) +
                          ", only 0 to " + std::to_string(file.FrameCount() - 1));
    }
    return list;
}

// One picture a frame, however often the list names it, and the times of these frames in the order of file names.
void WritePictures(InputFile& file, const std::vector<double>& vTimesMs, const FrameList& list,
                   const std::filesystem::path& folder, EImageFormat eFormat, ProgressBar& progress)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw std::runtime_error(Quoted(Utf8FromPath(folder)) + " can't be made: " + error.message());

    std::vector<bool> vWritten(file.FrameCount());
    list.ForEach([&](std::uint32_t uiFrame) {
        if (!vWritten[uiFrame])
        {
            WriteWholeFile(folder / PictureName(uiFrame, file.FrameCount(), FileExtension(eFormat)),
                           EncodeImage(file.ReadFrame(uiFrame), eFormat));
            vWritten[uiFrame] = true;
        }
        progress.Step();
    });

    std::vector<FrameTime> vTimes;
    for (std::uint32_t uiFrame = 0; uiFrame < file.FrameCount(); ++uiFrame)
        if (vWritten[uiFrame]) vTimes.push_back({uiFrame, vTimesMs[uiFrame]});
    WriteWholeFile(folder / "times.csv", TimesAsCsv(vTimes));
}

void WriteRawFile(InputFile& file, const FrameList& list, const std::filesystem::path& path, ProgressBar& progress)
{
    OutputFile out(path);
    list.ForEach([&](std::uint32_t uiFrame) {
        out.Write(TightRows(file.ReadFrame(uiFrame)));
        progress.Step();
    });
    out.Commit();
}

void WriteRawStdout(InputFile& file, const FrameList& list, ProgressBar& progress)
{
    list.ForEach([&](std::uint32_t uiFrame) {
        const auto bytes = TightRows(file.ReadFrame(uiFrame));
        std::cout.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        if (!std::cout) throw std::runtime_error("standard output can't be written");
        progress.Step();
    });
}

class FramesCommand : public Command
{
public:
    CLI::App* Declare(CLI::App& program) override
    {
        CLI::App* pApp = program.add_subcommand("frames", "Writes the pictures of frames");
        pApp->add_option("FILE", m_strFile, "MP4 file")->required();
        CLI::Option_group* pTarget = pApp->add_option_group("target", "Where the pictures go (exactly one)");
        pTarget->add_option("--out", m_strFolder, "Folder for image files and their times.csv; made if missing")
            ->type_name("DIR");
        CLI::Option* pRaw =
            pTarget->add_option("--raw", m_strRaw, "File for bare 24-bit rows B, G, R, frames in order; - for stdout")
                ->type_name("OUT.bgr");
        pTarget->require_option(1);
        pApp->add_option("--frames", m_strList,
                         "Frames in the wanted order: numbers, START:END or START:END:STEP with END included, "
                         "separated by commas, such as 0,5,7:20,100:0:-10 (default: all)")
            ->type_name("LIST")
            ->check(FrameListProblem, "");
        pApp->add_option("--format", m_strFormat, "Kind of image files (default: png)")
            ->type_name("png|tiff")
            ->check(CLI::IsMember({"png", "tiff"}).description(""))
            ->excludes(pRaw);
        pApp->add_flag("--allow-blank", m_bAllowBlank, ALLOW_BLANK_HELP);
        pApp->add_flag("--allow-foreign-times", m_bAllowForeignTimes, ALLOW_FOREIGN_TIMES_HELP);
        return pApp;
    }

    void Run(const Session& session) override
    {
        InputFile file(session, m_strFile);
        RequirePictures(file, COMMAND, m_bAllowBlank);
        const std::vector<double> vTimesMs = file.AllTimesMs();
        RequireTimesOfVideo(file, OriginOfTimes(file, vTimesMs), COMMAND, m_bAllowForeignTimes);
        const FrameList list = ChooseFrames(file, m_strList);
        const EImageFormat eFormat = m_strFormat == "tiff" ? EImageFormat::Tiff : EImageFormat::Png;
        ProgressBar progress(IsTerminalOnStderr() ? &std::cerr : nullptr, list.Count());
        if (m_strRaw == "-")
        {
            WriteRawStdout(file, list, progress);
        }
        else if (m_strRaw)
        {
            WriteRawFile(file, list, PathFromUtf8(*m_strRaw), progress);
        }
        else
        {
            WritePictures(file, vTimesMs, list, PathFromUtf8(m_strFolder), eFormat, progress);
        }
    }

private:
    std::string m_strFile;
    std::string m_strFolder;
    std::optional<std::string> m_strRaw;
    std::string m_strList;
    std::string m_strFormat = "png";
    bool m_bAllowBlank = false;
    bool m_bAllowForeignTimes = false;
};

}  // namespace

std::unique_ptr<Command> MakeFramesCommand()
{
    return std::make_unique<FramesCommand>();
}

}  // namespace qmhost
