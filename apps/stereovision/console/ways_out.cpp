// SPDX-License-Identifier: Apache-2.0
#include "console/ways_out.h"

#include <map>

namespace tool {

namespace {

/// By the code of a note or failure: the library does not know what this program's options are called.
const std::map<std::string, std::string>& waysOut()
{
    static const std::map<std::string, std::string> ways{
        // files and output
        {"file-exists", "add --force to overwrite it, or choose another name or folder"},
        {"colour-range", "give --colour-range the smallest and the largest disparity in px, such as 20,160"},
        {"no-depth", "with --rectified, that is --focal and --baseline"},

        // input

        // records and interchange

        // matching and depth

        // features
        {"images-swapped", "exchange --left and --right"},

        // board and calibration

        // check

        // evaluation

        // sequence
    };
    return ways;
}

} // namespace

std::string wayOut(const std::string& code)
{
    const auto found = waysOut().find(code);
    return found == waysOut().end() ? "" : "; " + found->second;
}

} // namespace tool
