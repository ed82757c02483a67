// qmhost frames: pictures of frames as image files or as raw bytes.
#include "command.h"

#include <algorithm>
#include <iostream>
#include <optional>

#include "parts/failure.h"
#include "parts/framelist.h"
#include "parts/imagefile.h"
#include "parts/interruption.h"
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

// With new objects of the module, for a frame that couldn't be read. An object starts with the first 48 pictures and
// reads no more when one of these is damaged. Whether a request for a later frame comes before that depends on how soon
// its threads run, hence more than one attempt.
constexpr int NEW_ATTEMPTS = 3;

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

// The frames that the user asks for. Throws Failure for one that the file doesn't have.
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

// Writes the pictures of frames as files of a folder.
class PictureFolder
{
public:
    PictureFolder(InputFile& file, std::filesystem::path folder, EImageFormat eFormat)
        : m_file(file), m_folder(std::move(folder)), m_eFormat(eFormat), m_vOutcomes(file.FrameCount())
    {
        std::error_code error;
        std::filesystem::create_directories(m_folder, error);
        if (error) throw std::runtime_error(Quoted(Utf8FromPath(m_folder)) + " can't be made: " + error.message());
    }

    // One picture a frame, however often the list names it. With bKeepGoing a frame that can't be read is reported on
    // standard error and left out.
    void Write(const FrameList& list, bool bKeepGoing, ProgressBar& progress)
    {
        list.ForEach([&](std::uint32_t uiFrame) {
            ThrowIfInterrupted();
            EOutcome& eOutcome = m_vOutcomes[uiFrame];
            if (eOutcome == EOutcome::NotAsked) eOutcome = WritePicture(uiFrame, bKeepGoing, progress);
            progress.Step();
        });
    }

    // The times of the frames that were written, in the order of file names.
    void WriteTimes(const std::vector<double>& vTimesMs) const
    {
        std::vector<FrameTime> vTimes;
        for (std::uint32_t uiFrame = 0; uiFrame < m_vOutcomes.size(); ++uiFrame)
            if (m_vOutcomes[uiFrame] == EOutcome::Written) vTimes.push_back({uiFrame, vTimesMs[uiFrame]});
        WriteWholeFile(m_folder / "times.csv", TimesAsCsv(vTimes));
    }

    // Throws Failure when frames were left out.
    void RequireAll() const
    {
        const auto nLost = std::count(m_vOutcomes.begin(), m_vOutcomes.end(), EOutcome::Lost);
        const auto nWritten = std::count(m_vOutcomes.begin(), m_vOutcomes.end(), EOutcome::Written);
        if (nLost == 0) return;
        throw Failure(COMMAND, QM_ERR_FAIL,
                      std::to_string(nLost) + " of " + std::to_string(nLost + nWritten) + " frames of " +
                          Quoted(m_file.Path()) + " couldn't be read and are left out");
    }

private:
    enum class EOutcome : unsigned char
    {
        NotAsked,
        Written,
        Lost
    };

    EOutcome WritePicture(std::uint32_t uiFrame, bool bKeepGoing, ProgressBar& progress)
    {
        const auto path = m_folder / PictureName(uiFrame, m_file.FrameCount(), FileExtension(m_eFormat));
        const std::optional<PictureView> picture =
            bKeepGoing ? ReadIfPossible(uiFrame, progress) : m_file.ReadFrame(uiFrame);
        if (!picture)
        {
            std::error_code ignored;
            std::filesystem::remove(path, ignored);  // one of an earlier run would pass for this one's
            return EOutcome::Lost;
        }
        WriteWholeFile(path, EncodeImage(*picture, m_eFormat));
        return EOutcome::Written;
    }

    // The picture, or a line on standard error and nothing. A frame is only lost when new objects of the module can't
    // read it either: after a damaged picture an object may read none of the others.
    std::optional<PictureView> ReadIfPossible(std::uint32_t uiFrame, ProgressBar& progress)
    {
        std::string strFailure;
        for (int nAttempt = 0; nAttempt < 1 + NEW_ATTEMPTS; ++nAttempt)
        {
            if (nAttempt > 0) m_file.Reopen();
            try
            {
                return m_file.ReadFrame(uiFrame);
            }
            catch (const Failure& e)
            {
                strFailure = e.what();
            }
        }
        progress.Wipe();
        std::cerr << "qmhost: " << strFailure << '\n';
        return std::nullopt;
    }

    InputFile& m_file;
    std::filesystem::path m_folder;
    EImageFormat m_eFormat;
    std::vector<EOutcome> m_vOutcomes;  // of every frame of the file
};

void WriteRawFile(InputFile& file, const FrameList& list, const std::filesystem::path& path, ProgressBar& progress)
{
    OutputFile out(path);
    list.ForEach([&](std::uint32_t uiFrame) {
        ThrowIfInterrupted();
        out.Write(TightRows(file.ReadFrame(uiFrame)));
        progress.Step();
    });
    out.Commit();
}

void WriteRawStdout(InputFile& file, const FrameList& list, ProgressBar& progress)
{
    list.ForEach([&](std::uint32_t uiFrame) {
        ThrowIfInterrupted();
        const auto bytes = TightRows(file.ReadFrame(uiFrame));
        std::cout.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        if (!std::cout)
        {
            ThrowIfInterrupted();  // Ctrl-C has ended the reader too
            throw std::runtime_error("standard output can't be written");
        }
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
        CLI::Option* pFolder =
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
        // A raw file has nothing that shows which frame is missing.
        pApp->add_flag("--keep-going", m_bKeepGoing,
                       "Leave out frames that can't be read, report each, and end with status 1")
            ->needs(pFolder);
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
        NoteInterruptions();
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
            PictureFolder folder(file, PathFromUtf8(m_strFolder), eFormat);
            WritePictures(folder, list, vTimesMs, progress);
            folder.RequireAll();
        }
    }

private:
    // With the times of what was written, also when the user ends it early.
    void WritePictures(PictureFolder& folder, const FrameList& list, const std::vector<double>& vTimesMs,
                       ProgressBar& progress) const
    try
    {
        folder.Write(list, m_bKeepGoing, progress);
        folder.WriteTimes(vTimesMs);
    }
    catch (const Interrupted&)
    {
        folder.WriteTimes(vTimesMs);
        throw;
    }

    std::string m_strFile;
    std::string m_strFolder;
    std::optional<std::string> m_strRaw;
    std::string m_strList;
    std::string m_strFormat = "png";
    bool m_bKeepGoing = false;
    bool m_bAllowBlank = false;
    bool m_bAllowForeignTimes = false;
};

}  // namespace

std::unique_ptr<Command> MakeFramesCommand()
{
    return std::make_unique<FramesCommand>();
}

}  // namespace qmhost
