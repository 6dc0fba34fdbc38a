// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_OPTIONS_PARAMETER_FILE_H
#define TOOL_OPTIONS_PARAMETER_FILE_H

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace tool {

/// Sets options that were not given on the command line from a JSON object of names (without dashes) and
/// values.
/// @param parameters names of the options that may be set so
/// @throws Failure naming the file and what is wrong with it
void applyParameterFile(CLI::App& app, const std::vector<std::string>& parameters, const std::string& file);

/// Writes the options that were given, in a form that applyParameterFile() takes.
/// @throws Failure when the file cannot be written
void saveParameterFile(const CLI::App& app, const std::vector<std::string>& parameters,
                       const std::string& file);

} // namespace tool

#endif
