#include "commandline.h"

#include <iostream>
#include <new>

#include "command.h"
#include "diagnostics.h"
#include "parts/failure.h"
#include "parts/interruption.h"
#include "parts/text.h"

namespace qmhost
{
namespace
{

enum EExitStatus
{
    SUCCEEDED = 0,
    FAILED = 1,
    WRONG_COMMAND_LINE = 2
};

struct DeclaredCommand
{
    std::unique_ptr<Command> m_pCommand;
    CLI::App* m_pApp;
};

class Program
{
public:
    Program()
    {
        m_app.allow_windows_style_options(false);  // a path may begin with a slash
        m_app.set_version_flag("--version", "qmhost " QMHOST_VERSION);
        m_app
            .add_option("--module", m_strModule,
                        "The format's module (default: " + Utf8FromPath(ModuleFileName()) + " beside this program)")
            ->type_name("PATH");
        m_app.add_flag("-v,--verbose", m_bVerbose,
                       "Show the module's diagnostics on standard error, and write's order of files");
        m_app.footer("Exit status: 0, 1 when an operation failed, 2 for a wrong command line, 130 and 143 after\n"
                     "Ctrl-C and a request to end.");
        m_app.require_subcommand(1);
        m_app.fallthrough();  // these options may also follow the command
        for (auto make : {MakeCodecsCommand, MakeInfoCommand, MakeTimesCommand, MakeFramesCommand, MakePreviewCommand,
                          MakeWriteCommand, MakeRepairCommand})
        {
            auto pCommand = make();
            CLI::App* const pApp = pCommand->Declare(m_app);
            m_vCommands.push_back({std::move(pCommand), pApp});
        }
    }

    int Run(const std::vector<std::string>& vArguments)
    {
        try
        {
            m_app.parse(std::vector<std::string>(vArguments.rbegin(), vArguments.rend()));  // it wants them reversed
        }
        catch (const CLI::ParseError& e)
        {
            return ReportParsing(e);
        }
        for (const DeclaredCommand& command : m_vCommands)
            if (command.m_pApp->parsed()) return RunCommand(command);
        return WRONG_COMMAND_LINE;
    }

private:
    // Help and version come this way too, with an exit code of 0.
    int ReportParsing(const CLI::ParseError& e)
    {
        if (e.get_exit_code() == 0)
        {
            m_app.exit(e);
            return SUCCEEDED;
        }
        const auto vChosen = m_app.get_subcommands();
        const std::string strCommand = vChosen.empty() ? "" : vChosen.front()->get_name() + " ";
        std::cerr << "qmhost: " << e.what() << "\nusage: see qmhost " << strCommand << "--help\n";
        return WRONG_COMMAND_LINE;
    }

    int RunCommand(const DeclaredCommand& command)
    {
        const std::string strCommand = command.m_pApp->get_name();
        try
        {
            Diagnostics diagnostics(m_bVerbose);
            const Session session(m_strModule.empty() ? ProgramFolder() / ModuleFileName() : PathFromUtf8(m_strModule),
                                  diagnostics);
            command.m_pCommand->Run(session);
            if (!std::cout.flush() && InterruptionStatus() == 0)  // else Ctrl-C has ended the reader too
                throw std::runtime_error("standard output can't be written");
            return InterruptionStatus();  // also when it came too late to change anything
        }
        catch (const Interrupted& e)
        {
            std::cerr << "qmhost: " << e.what() << '\n';
            return InterruptionStatus();
        }
        catch (const Failure& e)
        {
            return Report(e);
        }
        catch (const std::bad_alloc&)
        {
            return Report(Failure(strCommand, QM_ERR_FAIL, "out of memory"));
        }
        catch (const std::exception& e)  // what the system refused to this program itself
        {
            return Report(Failure(strCommand, QM_ERR_FAIL, e.what()));
        }
    }

    static int Report(const Failure& failure)
    {
        std::cerr << "qmhost: " << failure.what() << '\n';
        return FAILED;
    }

    CLI::App m_app{"Opens and writes MP4 files through the host's interfaces and the module that implements them.",
                   "qmhost"};
    std::string m_strModule;
    bool m_bVerbose = false;
    std::vector<DeclaredCommand> m_vCommands;
};

}  // namespace

int RunCommandLine(const std::vector<std::string>& vArguments)
{
    return Program().Run(vArguments);
}

}  // namespace qmhost
