// SPDX-License-Identifier: Apache-2.0
#include "console/ways_out.h"

#include <map>

namespace tool {

namespace {

/// By the code of a note or failure: the library does not know what this program's options are called.
const std::map<std::string, std::string>& waysOut()
{
    static const std::string calibrate = "'stereovision calibrate' makes a new one";
    static const std::map<std::string, std::string> ways{
        // files and output

        // input

        // records and interchange
        {"size", calibrate},
        {"camera-matrix", calibrate},
        {"projection-matrix", calibrate},
        {"no-rotation", calibrate},
        {"distortion", calibrate},
        {"focal-length", calibrate},
        {"left-translated", calibrate},
        {"sizes-differ", calibrate},
        {"focal-lengths-differ", calibrate},
        {"principal-points-differ", calibrate},
        {"rows-differ", calibrate},
        {"calibration-missing", calibrate},
        {"broken-calibration", calibrate},
        {"foreign-calibration", "'stereovision convert' does it, with both cameras' files if there are two"},
        {"calibration-not-written", "--output names the folder"},
        {"lens-model", calibrate},
        {"too-many-coefficients", "calibrate with --distortion 8"},
        {"image-size-needed", "give it with --size, such as 640x480"},
        {"unit-needed", "give it with --unit, such as 25mm or 1m"},
        {"kitti-cameras", "give --cameras grey or --cameras colour"},
        {"size-known", "leave out --size; 'stereovision scale' changes it"},
        {"unit-known", "leave out --unit"},
        {"cameras-known", "leave out --cameras"},
        {"rectified-geometry", "see --focal, --baseline, --doffs, --cx and --cy"},

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
