// SPDX-License-Identifier: Apache-2.0
/// @file
/// Numbers as options: decimal, read in full, and within limits. The parser of the command line takes octal
/// and hexadecimal numbers, nan and what overflows.
#ifndef TOOL_OPTIONS_NUMBERS_H
#define TOOL_OPTIONS_NUMBERS_H

#include <CLI/CLI.hpp>
#include <opencv2/core/types.hpp>

#include <optional>
#include <string>
#include <utility>

namespace tool {

/// A finite number and nothing else.
std::optional<double> parseNumber(const std::string& text);

/// Two whole numbers from 1 on, such as 640x480.
/// @return nothing when it is anything else, or one is larger than `most`
std::optional<std::pair<int, int>> parseTwo(const std::string& text, char separator, int most);

/// Makes an option take a number within limits.
/// @return the option
CLI::Option* takeNumber(CLI::Option* option, double lowest, double highest);

/// Makes an option take a whole number within limits.
/// @return the option
CLI::Option* takeWhole(CLI::Option* option, int lowest, int highest);

/// Adds an option for the size of images in px, such as 640x480.
CLI::Option* addSize(CLI::App& app, const std::string& name, std::optional<cv::Size>& size,
                     const std::string& meaning);

} // namespace tool

#endif
