// qmhost codecs: the tables of codecs and quality steps.
#include "command.h"

#include <cstdio>
#include <iostream>

#include "parts/failure.h"
#include "parts/text.h"

namespace qmhost
{
namespace
{

std::string FormatTitle(IQmImageFormat& format)
{
    CQmStringA strId;
    CQmStringW strDescription;
    CQmStringW strExtension;
    Require(format.GetFormatId(strId), "GetFormatId", "the format's id");
    Require(format.GetFormatDescription(strDescription), "GetFormatDescription", "the format's description");
    Require(format.GetFileExtension(strExtension), "GetFileExtension", "the format's file extension");
    return std::string(strId.GetString()) + ": " + Utf8FromWide(strDescription.GetString()) + ", *" +
           Utf8FromWide(strExtension.GetString());
}

void PrintCodecs(IQmImageFormat& format)
{
    std::cout << "\ncodec  code      name\n";
    const std::uint32_t uiCount = format.BuildCodecTable();
    for (std::uint32_t i = 0; i < uiCount; ++i)
    {
        SQmCodecInfo info{};
        Require(format.GetCodecInfo(i, &info), "GetCodecInfo", "row " + std::to_string(i));
        char acLine[320];
        std::snprintf(acLine, sizeof acLine, "%5u  %-8s  %s\n", i, Utf8FromWide(info.m_wszCode).c_str(),
                      Utf8FromWide(info.m_wszName).c_str());
        std::cout << acLine;
    }
}

void PrintQualities(IQmImageFormat& format)
{
    std::cout << "\nquality  name      value  parameter\n";
    const std::uint32_t uiCount = format.GetQualityCount();
    for (std::uint32_t i = 0; i < uiCount; ++i)
    {
        CQmStringW strName;
        std::uint32_t uiValue = 0;
        double dParameter = 0;
        Require(format.GetQualityInfo(i, strName, &uiValue, &dParameter), "GetQualityInfo", "row " + std::to_string(i));
        char acLine[160];
        std::snprintf(acLine, sizeof acLine, "%7u  %-8s  %5u  %g\n", i, Utf8FromWide(strName.GetString()).c_str(),
                      uiValue, dParameter);
        std::cout << acLine;
    }
}

class CodecsCommand : public Command
{
public:
    CLI::App* Declare(CLI::App& program) override
    {
        return program.add_subcommand("codecs", "Lists the codecs and the quality steps of the format");
    }

    void Run(const Session& session) override
    {
        std::cout << FormatTitle(session.Format()) << '\n';
        PrintCodecs(session.Format());
        PrintQualities(session.Format());
    }
};

}  // namespace

std::unique_ptr<Command> MakeCodecsCommand()
{
    return std::make_unique<CodecsCommand>();
}

}  // namespace qmhost
