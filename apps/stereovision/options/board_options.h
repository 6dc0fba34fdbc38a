// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_OPTIONS_BOARD_OPTIONS_H
#define TOOL_OPTIONS_BOARD_OPTIONS_H

#include <vision/toolkit/board/board.h>

#include <CLI/CLI.hpp>

namespace tool {

/// The board as options of a subcommand. They are written into `board` when they are parsed.
void addBoardOptions(CLI::App& app, vision::toolkit::Board& board);

/// Tests whether what was given makes a board.
/// @throws Failure naming the option that is missing or contradicts another one
void requireComplete(const vision::toolkit::Board& board);

} // namespace tool

#endif
