// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_OPTIONS_PAIR_OPTIONS_H
#define TOOL_OPTIONS_PAIR_OPTIONS_H

#include <vision/toolkit/input/pair_sequence.h>

#include <CLI/CLI.hpp>

namespace tool {

/// The images of both cameras as options of a subcommand. They are written into `input` when they are parsed.
void addPairOptions(CLI::App& app, vision::toolkit::PairInput& input);

/// The largest image that is decoded.
CLI::Option* addPixelLimit(CLI::App& app, vision::toolkit::ImageLimits& limits);

} // namespace tool

#endif
