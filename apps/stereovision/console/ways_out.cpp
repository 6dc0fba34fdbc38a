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

        // input

        // records and interchange

        // matching and depth

        // features
        {"images-swapped", "exchange --left and --right"},

        // board and calibration
        {"unknown-dictionary", "give it with --dictionary"},
        {"no-marker-detector", "leave out --pattern charuco"},
        {"board-is-chessboard", "leave out --pattern"},
        {"board-is-circles", "try --pattern circles"},
        {"board-is-asymmetric", "try --pattern asymmetric-circles"},
        {"swapped-cameras", "swap --left and --right"},
        {"pairs-do-not-fit", "name the images in --left and --right in the same order"},
        {"too-few-pairs", "check --board"},
        {"residuals-grow", "try --distortion 8"},
        {"camera-turned-180", "--rotate-right 180 turns those of the right camera"},
        {"vertical-rig", "--rotate-left 90 --rotate-right 90 turns them"},
        {"identical-images", "name them with --left and --right"},

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
