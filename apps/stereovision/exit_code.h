// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_EXIT_CODE_H
#define TOOL_EXIT_CODE_H

#include <cstddef>

namespace tool {

/// What the program returns, whatever the subcommand.
enum class ExitCode : int
{
    AllDone = 0,
    SomeFailed = 1,  ///< some input failed, the rest was done
    NothingDone = 2, ///< wrong usage, or nothing could be done
};

/// The exit code of a run over several inputs.
inline ExitCode exitCodeOf(std::size_t done, std::size_t failed)
{
    if (failed == 0) {
        return ExitCode::AllDone;
    }
    return done == 0 ? ExitCode::NothingDone : ExitCode::SomeFailed;
}

} // namespace tool

#endif
