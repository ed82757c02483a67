// qmhost write: pictures and their times become an MP4 file.
#include "command.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "diagnostics.h"
#include "options.h"
#include "outputvideo.h"
#include "parts/bytesource.h"
#include "parts/evenpicture.h"
#include "parts/failure.h"
#include "parts/interruption.h"
#include "parts/picturesource.h"
#include "parts/progress.h"
#include "parts/repair.h"
#include "parts/text.h"
#include "parts/timegrid.h"
#include "parts/timesfile.h"
#include "parts/tracktimes.h"

namespace qmhost
{
namespace
{

constexpr const char* COMMAND = "write";
constexpr double SMALLEST_DIFFERENCE_MS = 1e-4;  // what is below comes from computing with 64-bit floats

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

// What counts for the files of a codec.
struct CodecFacts
{
    const char* m_pszCode;
    bool m_bMuxedByModule;  // such a file gives its length as a tenth of what it is
    TimeForm m_times;
};

constexpr CodecFacts MUXED_CODECS[] = {{"NVENC1", true, MUXED_TIMES}, {"AMF1", true, MUXED_TIMES}};

// Whatever the module doesn't mux itself is written by the system's encoder.
CodecFacts FactsOf(const std::string& strCode)
{
    for (const CodecFacts& facts : MUXED_CODECS)
        if (strCode == facts.m_pszCode) return facts;
    return {nullptr, false, SYSTEM_TIMES};
}

std::string Frames(std::uint32_t uiCount)
{
    return std::to_string(uiCount) + (uiCount == 1 ? " frame" : " frames");
}

std::string Hours(double dMs)
{
    char acText[40];
    std::snprintf(acText, sizeof acText, "%.1f hours", dMs / 3'600'000);
    return acText;
}

// The times of the pictures, from a file or a steady period.
class FrameTimes
{
public:
    FrameTimes(const std::optional<std::string>& strFile, double dPeriodMs, std::optional<std::uint32_t> uiPictures)
        : m_dPeriodMs(dPeriodMs), m_uiPictures(uiPictures)
    {
        if (!strFile) return;
        m_strFile = Quoted(*strFile);
        m_vTimes = ReadTimesFile(PathFromUtf8(*strFile));
        if (uiPictures && m_vTimes->size() != *uiPictures) throw std::runtime_error(WrongCount(*uiPictures));
        if (m_vTimes->empty()) throw std::runtime_error(m_strFile + " has no times");
    }

    double operator[](std::uint32_t uiFrame) const { return m_vTimes ? (*m_vTimes)[uiFrame] : uiFrame * m_dPeriodMs; }

    // Whether there is a time for this frame.
    bool Has(std::uint32_t uiFrame) const { return !m_vTimes || uiFrame < m_vTimes->size(); }

    // How many times there are; nothing with a steady period.
    std::optional<std::uint32_t> Count() const
    {
        if (!m_vTimes) return std::nullopt;
        return static_cast<std::uint32_t>(std::min<std::size_t>(m_vTimes->size(), UINT32_MAX));
    }

    // That there are more or fewer times than pictures, for a message; "" when there are as many.
    std::string CountProblem(std::uint32_t uiPictures) const
    {
        return m_vTimes && m_vTimes->size() != uiPictures ? WrongCount(uiPictures) : "";
    }

    // Throws std::runtime_error, or warns with bAllow, for times that a file of the codec can't hold.
    void RequireStorable(const std::string& strCode, const TimeForm& form, bool bAllow) const
    {
        const auto problem =
            m_vTimes ? FindTimesProblem(*m_vTimes, form) : FindPeriodProblem(m_dPeriodMs, m_uiPictures, form);
        if (!problem) return;
        const auto [strWhat, strWayOut] = InWords(*problem, strCode, form);
        if (!bAllow) throw std::runtime_error(strWhat + "; " + strWayOut);
        Warn(strWhat);
    }

private:
    std::string WrongCount(std::uint32_t uiPictures) const
    {
        return m_strFile + " has " + std::to_string(m_vTimes->size()) + " times for " + std::to_string(uiPictures) +
               " pictures";
    }

    // What is wrong, and what the user can do.
    std::pair<std::string, std::string> InWords(const TimesProblem& problem, const std::string& strCode,
                                                const TimeForm& form) const
    {
        const std::string strEntry = "entry " + std::to_string(problem.m_uiEntry);
        const std::string strTimes = m_vTimes ? "times of " + m_strFile : "times at that period";
        switch (problem.m_eProblem)
        {
        case ETimesProblem::Backwards:
            return {strTimes + " run backwards at " + strEntry,
                    "put times and pictures in the order of time, or hand them over with --exact-times"};
        case ETimesProblem::TooLong:
            return {strTimes + " have a distance before " + strEntry + " that is longer than the " +
                        Hours(static_cast<double>(form.m_uiLongest) / form.m_uiTicksPerMs) + " that a file of " +
                        strCode + " can hold",
                    "write the frames from there on to another file"};
        case ETimesProblem::TooClose:
            return {strTimes + " are too close up to " + strEntry + ": " + strCode +
                        " takes a distance below 1 ms for 1 ms",
                    "NVENC1 and AMF1 keep times to 0.1 ms"};
        case ETimesProblem::TooLate:
            break;
        }
        return {strTimes + " span more than 31 years at " + strEntry, "write the frames from there on to another file"};
    }

    std::string m_strFile;                        // quoted
    std::optional<std::vector<double>> m_vTimes;  // none with a steady period
    double m_dPeriodMs;
    std::optional<std::uint32_t> m_uiPictures;
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

// What is expected of a file that the module muxes: the bit rate that AMF1 asks for, 20 Mbit/s at 1920 x 1080 and 30
// frames a second. NVENC1 has a constant quality instead, and takes more or less with the pictures.
constexpr double BYTES_PER_PIXEL = 20e6 / (1920 * 1080) / 30 / 8;
constexpr double LARGEST_MUXED = 4294967296.0;

void WarnOfSize(const std::string& strOut, const std::string& strCode, const EvenPicture& picture,
                std::uint32_t uiCount)
{
    const double dBytes = BYTES_PER_PIXEL * picture.Width() * picture.Height() * uiCount;
    if (dBytes < LARGEST_MUXED) return;
    char acSize[40];
    std::snprintf(acSize, sizeof acSize, "%.1f GiB", dBytes / (1 << 30));
    Warn(Quoted(strOut) + " may become larger than 4 GiB: about " + acSize + " are expected of " + strCode +
         "; no program opens such a file until it is repaired: qmhost repair, or write --repair, which takes as much "
         "space again meanwhile");
}

// Writes the pictures up to the end of the source, or of the times.
class FrameWriter
{
public:
    FrameWriter(OutputVideo& video, PictureSource& source, const FrameTimes& times)
        : m_video(video), m_source(source), m_times(times)
    {}

    // Ends early when the user asks for it. grid: nothing for times that are handed over as they stand. bReport: a line
    // on standard output after each frame. Throws std::runtime_error if there is no picture, and Interrupted if there
    // is none yet. A picture that can't be read is the end too.
    void Write(EvenPicture& picture, std::optional<TimeGrid> grid, bool bReport)
    {
        ProgressBar progress(IsTerminalOnStderr() ? &std::cerr : nullptr, m_source.Count());
        while (InterruptionStatus() == 0 && ReadNext(picture))
        {
            if (!m_times.Has(m_uiFrames))
            {
                m_bMorePictures = true;
                break;
            }
            picture.Complete();
            const double dTimeMs = m_times[m_uiFrames];
            m_video.WriteFrame(grid ? grid->Next(dTimeMs) : dTimeMs, picture.Pixels());
            if (bReport) std::cout << "frame " << m_uiFrames << std::endl;
            ++m_uiFrames;
            progress.Step();
        }
        if (m_uiFrames > 0) return;
        if (m_strReadError.empty() && InterruptionStatus() != 0)
        {
            m_video.Abandon();
            throw Interrupted();
        }
        const std::string strShortfall = m_strReadError.empty() ? m_source.Rest() : m_strReadError;
        throw std::runtime_error((strShortfall.empty() ? "there is no frame" : strShortfall) + "; " +
                                 m_video.Abandon());
    }

    std::uint32_t Written() const { return m_uiFrames; }

    // What was given and isn't in the file, for a message; "" for nothing. What comes after an interruption isn't
    // missed.
    std::string Shortfall() const
    {
        if (!m_strReadError.empty() || InterruptionStatus() != 0) return m_strReadError;
        if (m_bMorePictures) return "there are more frames than the " + std::to_string(m_uiFrames) + " times";
        const std::string strRest = m_source.Rest();
        return strRest.empty() ? m_times.CountProblem(m_uiFrames) : strRest;
    }

private:
    // False also for a picture that can't be read. The frames before it make a file.
    bool ReadNext(EvenPicture& picture)
    try
    {
        return m_source.ReadNext(picture.Pixels(), picture.WidthBytes());
    }
    catch (const std::runtime_error& e)
    {
        m_strReadError = e.what();
        return false;
    }

    OutputVideo& m_video;
    PictureSource& m_source;
    const FrameTimes& m_times;
    std::uint32_t m_uiFrames = 0;  // written
    bool m_bMorePictures = false;
    std::string m_strReadError;  // of the picture after the last one written
};

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
                         "PNG and TIFF files of one size, or folders of such, whose files come in the order of their "
                         "numbers; every page is a frame")
            ->type_name("");
        CLI::Option* pRaw =
            pPictures
                ->add_option("--raw", m_strRaw,
                             "File of bare 24-bit rows B, G, R, frame after frame; - for standard input")
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
        pApp->add_flag("--exact-times", m_bExactTimes,
                       "Hand the times over as they stand; the module then cuts each distance, and they drift");
        pApp->add_flag("--repair", m_bRepair,
                       "Then repair the file, as qmhost repair does, if NVENC1 or AMF1 wrote it");
        pApp->add_flag("--progress", m_bProgress, "Print a line on standard output after each frame");
        return pApp;
    }

    void Run(const Session& session) override
    {
        const std::uint32_t uiCodec = FindCodec(session.Format(), m_strCodec);
        const CodecFacts codec = FactsOf(m_strCodec);
        const auto pSource = OpenPictures();
        const FrameTimes times(m_strTimes, m_dPeriodMs, pSource->Count());
        times.RequireStorable(m_strCodec, codec.m_times, m_bExactTimes);
        EvenPicture picture(pSource->Size());
        WarnBefore(*pSource, times, picture, codec);
        if (session.Diag().AreShown())
            for (const std::string& strLine : pSource->Order())
                std::cerr << "qmhost: " << strLine << '\n';

        OutputVideo video(session, m_strOut, uiCodec, AttributesOf(picture, pSource->Count().value_or(0)));
        FrameWriter writer(video, *pSource, times);
        NoteInterruptions();
        writer.Write(picture, m_bExactTimes ? std::nullopt : std::optional<TimeGrid>(codec.m_times), m_bProgress);
        Close(video, writer, codec);
        if (InterruptionStatus() != 0) std::cerr << "qmhost: interrupted; " << Finished(writer.Written()) << '\n';
        ReportTimes(times, writer.Written());
        if (video.NeedsRepair())
        {
            Warn(Quoted(m_strOut) +
                 " is whole, but larger than 4 GiB: no program opens it until it is repaired, with qmhost repair");
        }
        else if (codec.m_bMuxedByModule && !m_bRepair)
        {
            std::cerr << "qmhost: " << Quoted(m_strOut)
                      << " opens in this module as it is; ffmpeg and browsers play a tenth of its length, unless it is "
                         "repaired: qmhost repair, or write --repair\n";
        }
        const std::string strShortfall = writer.Shortfall();
        if (!strShortfall.empty()) throw std::runtime_error(strShortfall + "; " + Finished(writer.Written()));
    }

private:
    std::string Finished(std::uint32_t uiFrames) const
    {
        return Quoted(m_strOut) + " is finished with " + Frames(uiFrames);
    }

    void Close(OutputVideo& video, const FrameWriter& writer, const CodecFacts& codec) const
    try
    {
        video.Close([&] { Complete(codec); });
    }
    catch (const std::runtime_error&)
    {
        // The failure is the last line. What ended the frames early mustn't be lost with it.
        const std::string strShortfall = writer.Shortfall();
        if (!strShortfall.empty()) std::cerr << "qmhost: " << strShortfall << '\n';
        throw;
    }

    void WarnBefore(const PictureSource& source, const FrameTimes& times, const EvenPicture& picture,
                    const CodecFacts& codec) const
    {
        for (const std::string& warning : source.Warnings())
            Warn(warning);
        const auto [uiWidth, uiHeight] = source.Size();
        if (uiWidth != picture.Width() || uiHeight != picture.Height())
        {
            Warn("pictures of " + std::to_string(uiWidth) + " x " + std::to_string(uiHeight) + " become " +
                 std::to_string(picture.Width()) + " x " + std::to_string(picture.Height()) +
                 ", since H.264 takes even sides only");
        }
        const auto count = source.Count() ? source.Count() : times.Count();
        if (codec.m_bMuxedByModule && !m_bRepair && count) WarnOfSize(m_strOut, m_strCodec, picture, *count);
    }

    // Compares the times in the file with the given ones.
    void ReportTimes(const FrameTimes& times, std::uint32_t uiFrames) const
    {
        FileBytes bytes(PathFromUtf8(m_strOut));
        const auto dDifferenceMs =
            LargestTimeDifference(bytes, uiFrames, [&](std::uint32_t uiFrame) { return times[uiFrame]; });
        if (!dDifferenceMs) return;
        char acText[40];
        std::snprintf(acText, sizeof acText, *dDifferenceMs < 100 ? "%.3g" : "%.0f", *dDifferenceMs);
        std::cout << Quoted(m_strOut) << " has " << Frames(uiFrames)
                  << "; the largest difference of a time from the given one is "
                  << (*dDifferenceMs < SMALLEST_DIFFERENCE_MS ? "0" : acText) << " ms\n";
    }

    void Complete(const CodecFacts& codec) const
    {
        if (!m_bRepair || !codec.m_bMuxedByModule) return;
        const auto path = PathFromUtf8(m_strOut);
        try
        {
            PrintReport(RepairFile(path, path, {}));
        }
        catch (const std::runtime_error& e)
        {
            throw std::runtime_error(std::string("isn't repaired: ") + e.what() +
                                     "; qmhost repair makes a repaired copy, elsewhere too");
        }
    }

    std::unique_ptr<PictureSource> OpenPictures() const
    {
        if (m_strRaw == "-") return OpenRawStream(BinaryInput(), "standard input", *ParsePictureSize(m_strSize));
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
    bool m_bExactTimes = false;
    bool m_bRepair = false;
    bool m_bProgress = false;
};

}  // namespace

std::unique_ptr<Command> MakeWriteCommand()
{
    return std::make_unique<WriteCommand>();
}

}  // namespace qmhost
