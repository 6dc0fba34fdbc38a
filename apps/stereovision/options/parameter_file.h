// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_OPTIONS_PARAMETER_FILE_H
#define TOOL_OPTIONS_PARAMETER_FILE_H

#include "console/console.h"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace tool {

/// Sets options that were not given on the command line from a JSON object of names (without dashes) and
/// values.
/// @param parameters names of the options that may be set so
/// @throws Failure naming the file and what is wrong with it
void applyParameterFile(CLI::App& app, const std::vector<std::string>& parameters, const std::string& file,
                        Console& console);

/// The options that were given, as a file that applyParameterFile() takes.
std::string formatParameters(const CLI::App& app, const std::vector<std::string>& parameters);

} // namespace tool

#endif
