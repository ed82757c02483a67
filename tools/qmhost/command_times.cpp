// qmhost times: the time of every frame.
#include "command.h"

#include <iostream>

#include "pictures.h"

namespace qmhost
{
namespace
{

std::vector<FrameTime> Numbered(const std::vector<double>& vTimesMs)
{
    std::vector<FrameTime> vTimes;
    vTimes.reserve(vTimesMs.size());
    for (const double dTimeMs : vTimesMs)
        vTimes.push_back({static_cast<std::uint32_t>(vTimes.size()), dTimeMs});
    return vTimes;
}

class TimesCommand : public Command
{
public:
    CLI::App* Declare(CLI::App& program) override
    {
        CLI::App* pApp = program.add_subcommand("times", "Lists the time of every frame");
        pApp->add_option("FILE", m_strFile, "MP4 file")->required();
        pApp->add_flag("--csv", m_bCsv, "As lines frame,time_ms with whole milliseconds");
        return pApp;
    }

    void Run(const Session& session) override
    {
        InputFile file(session, m_strFile);
        const std::vector<double> vTimesMs = file.AllTimesMs();
        WarnOfForeignTimes(file, OriginOfTimes(file, vTimesMs));
        const std::vector<FrameTime> vTimes = Numbered(vTimesMs);
        std::cout << (m_bCsv ? TimesAsCsv(vTimes) : TimesAsTable(vTimes));
    }

private:
    std::string m_strFile;
    bool m_bCsv = false;
};

}  // namespace

std::unique_ptr<Command> MakeTimesCommand()
{
    return std::make_unique<TimesCommand>();
}

}  // namespace qmhost
