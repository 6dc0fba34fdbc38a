// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_OPTIONS_RUN_OPTIONS_H
#define TOOL_OPTIONS_RUN_OPTIONS_H

#include <vision/toolkit/sequence/shard.h>

#include <CLI/CLI.hpp>

namespace tool {

/// How a sequence is processed.
struct RunOptions
{
    unsigned jobs = 1; ///< pairs that are processed at the same time
    vision::toolkit::Shard shard;
};

/// Adds --jobs and --shard, which are written into `options` when they are parsed.
void addRunOptions(CLI::App& app, RunOptions& options);

} // namespace tool

#endif
