// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_OPTIONS_LENGTH_H
#define TOOL_OPTIONS_LENGTH_H

#include <CLI/CLI.hpp>

#include <string>

namespace tool {

/// Whether a length must say its unit or is in metres without one.
enum class Unit
{
    Required,
    MetresByDefault,
};

/// Makes an option take a length from 0.001mm to 1000000m such as "25mm", "2.5 cm" or "0.025m", and give
/// metres.
/// @return the option
CLI::Option* takeLength(CLI::Option* option, Unit unit);

} // namespace tool

#endif
