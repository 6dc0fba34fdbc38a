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
        {"rows-differ", "'stereovision check' tells more, 'stereovision calibrate' makes a new calibration"},
        {"not-rectified", "give the calibration of both cameras instead of --rectified"},
        {"range-ends-too-early", "give a smaller --near or more --disparities"},
        {"range-starts-too-late", "give a larger --far or a smaller --min-disparity"},

        // board and calibration

        // check
        {"drifted",
         "--correct with --output takes it into the calibration, 'stereovision calibrate' makes a new one"},
        {"scale-changed", "'stereovision calibrate' makes a new calibration"},
        {"square-differs", "check --square; 'stereovision calibrate' makes a new calibration"},
        {"correction-does-not-help", "'stereovision calibrate' makes a new calibration"},
        {"point-not-found", "give another --point"},

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
