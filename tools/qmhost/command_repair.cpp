// qmhost repair: a playable copy of a file that NVENC1 or AMF1 wrote.
#include "command.h"

#include <filesystem>
#include <optional>
#include <stdexcept>

#include "options.h"
#include "parts/interruption.h"
#include "parts/repair.h"
#include "parts/text.h"
#include "parts/timesfile.h"

namespace qmhost
{
namespace
{

class RepairCommand : public Command
{
public:
    CLI::App* Declare(CLI::App& program) override
    {
        CLI::App* pApp = program.add_subcommand("repair", "Makes a playable copy of a file that NVENC1 or AMF1 wrote");
        pApp->add_option("IN.mp4", m_strIn, "Unfinished or finished file; it isn't changed")->type_name("")->required();
        pApp->add_option("OUT.mp4", m_strOut, "MP4 file to write, named *.mp4")
            ->type_name("")
            ->required()
            ->check(TargetProblem, "");
        CLI::Option_group* pTimes =
            pApp->add_option_group("times", "When the pictures of an unfinished file are (at most one)");
        pTimes
            ->add_option(
                "--times", m_strTimes,
                "File of lines frame,time_ms, as qmhost write takes it; one for each picture, and there may be more")
            ->type_name("FILE.csv");
        pTimes->add_option("--period", m_dPeriodMs, "Milliseconds from picture to picture")
            ->type_name("MS")
            ->check(PeriodProblem, "");
        pTimes->require_option(0, 1);
        pApp->add_flag("--past-damage", m_bPastDamage,
                       "Write also the pictures after damage; their times are uncertain");
        return pApp;
    }

    void Run(const Session&) override
    {
        const auto pathIn = PathFromUtf8(m_strIn);
        const auto pathOut = PathFromUtf8(m_strOut);
        std::error_code none;
        if (std::filesystem::equivalent(pathIn, pathOut, none))
            throw std::runtime_error(Quoted(m_strOut) +
                                     " is the original, which isn't changed; name another file to write");
        RepairTimes times;
        times.m_dPeriodMs = m_dPeriodMs;
        times.m_bPastDamage = m_bPastDamage;
        if (m_strTimes)
        {
            times.m_vTimesMs = ReadTimesFile(PathFromUtf8(*m_strTimes));
            times.m_strList = Quoted(*m_strTimes);
        }
        NoteInterruptions();
        PrintReport(RepairFile(pathIn, pathOut, times, ThrowIfInterrupted));
    }

private:
    std::string m_strIn;
    std::string m_strOut;
    std::optional<std::string> m_strTimes;
    std::optional<double> m_dPeriodMs;
    bool m_bPastDamage = false;
};

}  // namespace

std::unique_ptr<Command> MakeRepairCommand()
{
    return std::make_unique<RepairCommand>();
}

}  // namespace qmhost
