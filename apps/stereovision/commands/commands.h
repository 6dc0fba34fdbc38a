// SPDX-License-Identifier: Apache-2.0
/// @file
/// The subcommands; each lives in a file of its own.
#ifndef TOOL_COMMANDS_COMMANDS_H
#define TOOL_COMMANDS_COMMANDS_H

#include "console/console.h"
#include "exit_code.h"

#include <CLI/CLI.hpp>

#include <functional>

namespace tool {

/// A subcommand: how it appears on the command line and what it does once its options are parsed.
struct Command
{
    CLI::App* options;
    std::function<ExitCode(Console&)> run;
};

Command addCalibrate(CLI::App& program);
Command addCheck(CLI::App& program);
Command addConvert(CLI::App& program);
Command addDepth(CLI::App& program);
Command addEvaluate(CLI::App& program);
Command addInfo(CLI::App& program);
Command addRectify(CLI::App& program);
Command addScale(CLI::App& program);

} // namespace tool

#endif
