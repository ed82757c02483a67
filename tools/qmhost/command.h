// What every command of the program offers to the command line.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "session.h"

namespace qmhost
{

class Command
{
public:
    virtual ~Command() = default;
    // Adds the command with its options, which are bound to this object, and returns what was added.
    virtual CLI::App* Declare(CLI::App& program) = 0;
    // Does the work after the command line was read. Results go to standard output, failures are thrown.
    virtual void Run(const Session& session) = 0;
};

std::unique_ptr<Command> MakeCodecsCommand();
std::unique_ptr<Command> MakeInfoCommand();
std::unique_ptr<Command> MakeTimesCommand();
std::unique_ptr<Command> MakeFramesCommand();
std::unique_ptr<Command> MakePreviewCommand();
std::unique_ptr<Command> MakeWriteCommand();
std::unique_ptr<Command> MakeRepairCommand();

}  // namespace qmhost
