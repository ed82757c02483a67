// qmhost info: what is known of a file without reading a picture.
#include "command.h"

#include <cmath>
#include <cstdio>
#include <iostream>
#include <optional>

#include "parts/json.h"
#include "parts/text.h"
#include "parts/videoprofile.h"
#include "pictures.h"

namespace qmhost
{
namespace
{

struct FileInfo
{
    std::string m_strPath;
    std::uint32_t m_uiFrames;
    std::uint32_t m_uiWidth;
    std::uint32_t m_uiHeight;
    std::optional<double> m_dFirstMs;
    std::optional<double> m_dLastMs;
    std::optional<double> m_dDurationMs;
    std::optional<double> m_dPeriodMs;  // a single frame has none
    VideoProfile m_profile;
    TimesOrigin m_origin;
};

FileInfo Collect(InputFile& file)
{
    FileInfo info{};
    info.m_strPath = file.Path();
    info.m_uiFrames = file.FrameCount();
    info.m_uiWidth = file.Attributes().m_uiWidth;
    info.m_uiHeight = file.Attributes().m_uiHeight;
    if (info.m_uiFrames > 0)
    {
        const SQmExperiment experiment = file.Experiment();
        info.m_dFirstMs = file.FrameTimeMs(0);
        info.m_dLastMs = file.FrameTimeMs(info.m_uiFrames - 1);
        info.m_dDurationMs = experiment.m_dDuration;
        if (std::isfinite(experiment.m_dPeriod)) info.m_dPeriodMs = experiment.m_dPeriod;
    }
    FileBytes bytes(PathFromUtf8(file.Path()));
    info.m_profile = ReadVideoProfile(bytes);
    info.m_origin = OriginOfTimes(file, file.AllTimesMs());
    return info;
}

std::string AsJson(const FileInfo& info)
{
    const EDelivery eDelivery = info.m_profile.Delivery();
    JsonObject json;
    json.Add("file", std::string_view(info.m_strPath));
    json.Add("frames", std::int64_t{info.m_uiFrames});
    json.Add("width", std::int64_t{info.m_uiWidth});
    json.Add("height", std::int64_t{info.m_uiHeight});
    json.Add("first_time_ms", info.m_dFirstMs);
    json.Add("last_time_ms", info.m_dLastMs);
    json.Add("duration_ms", info.m_dDurationMs);
    json.Add("mean_period_ms", info.m_dPeriodMs);
    if (info.m_origin.m_eOrigin == ETimesOrigin::Unknown)
    {
        json.AddNull("times_of_video");
    }
    else
    {
        json.Add("times_of_video", !info.m_origin.IsForeign());
    }
    if (info.m_origin.IsForeign())
    {
        json.Add("times_problem", std::string_view(info.m_origin.Problem(info.m_strPath)));
    }
    else
    {
        json.AddNull("times_problem");
    }
    json.Add("stream", std::string_view(info.m_profile.Describe()));
    if (info.m_profile.m_nProfile)
    {
        json.Add("profile", std::int64_t{*info.m_profile.m_nProfile});
    }
    else
    {
        json.AddNull("profile");
    }
    if (eDelivery == EDelivery::Unknown)
    {
        json.AddNull("pictures_delivered");
    }
    else
    {
        json.Add("pictures_delivered", eDelivery == EDelivery::Pictures);
    }
    return json.Text();
}

std::string Milliseconds(const std::optional<double>& dMs)
{
    if (!dMs) return "none";
    char acText[48];
    std::snprintf(acText, sizeof acText, "%.10g ms", *dMs);
    return acText;
}

std::string_view InWords(EDelivery eDelivery)
{
    switch (eDelivery)
    {
    case EDelivery::Pictures:
        return "delivered";
    case EDelivery::Blank:
        return "not delivered for this profile: frames are blank";
    default:
        return "unknown, no profile was found in the file";
    }
}

std::string AsText(const FileInfo& info)
{
    std::string text = info.m_strPath + '\n';
    const auto line = [&](std::string_view name, std::string_view value) {
        text += "  " + std::string(name) + std::string(14 - name.size(), ' ') + std::string(value) + '\n';
    };
    line("frames", std::to_string(info.m_uiFrames));
    line("size", std::to_string(info.m_uiWidth) + " x " + std::to_string(info.m_uiHeight));
    line("first time", Milliseconds(info.m_dFirstMs));
    line("last time", Milliseconds(info.m_dLastMs));
    line("duration", Milliseconds(info.m_dDurationMs));
    line("mean period", Milliseconds(info.m_dPeriodMs));
    line("stream", info.m_profile.Describe());
    line("pictures", InWords(info.m_profile.Delivery()));
    return text;
}

class InfoCommand : public Command
{
public:
    CLI::App* Declare(CLI::App& program) override
    {
        CLI::App* pApp = program.add_subcommand("info", "Shows frames, size, times and coding of a file");
        pApp->add_option("FILE", m_strFile, "MP4 file")->required();
        pApp->add_flag("--json", m_bJson, "As one JSON object");
        return pApp;
    }

    void Run(const Session& session) override
    {
        InputFile file(session, m_strFile);
        const FileInfo info = Collect(file);
        WarnOfForeignTimes(file, info.m_origin);
        std::cout << (m_bJson ? AsJson(info) : AsText(info));
    }

private:
    std::string m_strFile;
    bool m_bJson = false;
};

}  // namespace

std::unique_ptr<Command> MakeInfoCommand()
{
    return std::make_unique<InfoCommand>();
}

}  // namespace qmhost
