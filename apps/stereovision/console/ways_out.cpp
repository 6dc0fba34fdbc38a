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
        {"file-exists", "add --force to overwrite it, or choose another name or folder"},
        {"colour-range", "give --colour-range the smallest and the largest disparity in px, such as 20,160"},
        {"no-depth", "with --rectified, that is --focal and --baseline"},

        // input
        {"beyond-bit-depth", "state the bits of the cameras with --bits"},
        {"image-too-large", "if it is the right file, raise --most-megapixels"},
        {"no-left-images", "give --left"},
        {"numbers-of-images-differ", "see --left and --right"},
        {"resize-not-whole", "see --resize"},
        {"right-images-given", "leave out --right, or --side-by-side"},
        {"same-image-twice", "see --left and --right"},

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
        {"no-confidence", "leave out --algorithm, or confidence from --write"},
        {"window-unfit", "see --window"},
        {"even-window", "see --window and --algorithm sgbm"},
        {"search-unfit", "see --disparities, --window, --min-disparity and --max-depth"},
        {"too-many-disparities", "--resize 0.5 halves them"},
        {"range-not-found", "see --near and --far"},
        {"few-matches", "see --left and --right"},
        {"beyond-largest-depth", "see --max-depth"},
        {"same-names", "see --output"},

        // features
        {"images-swapped", "exchange --left and --right"},
        {"rows-differ", "'stereovision check' tells more, 'stereovision calibrate' makes a new calibration"},
        {"not-rectified", "give the calibration of both cameras instead of --rectified"},
        {"range-ends-too-early", "give a smaller --near or more --disparities"},
        {"range-starts-too-late", "give a larger --far or a smaller --min-disparity"},

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
        {"drifted",
         "--correct with --output takes it into the calibration, 'stereovision calibrate' makes a new one"},
        {"scale-changed", "'stereovision calibrate' makes a new calibration"},
        {"square-differs", "check --square; 'stereovision calibrate' makes a new calibration"},
        {"correction-does-not-help", "'stereovision calibrate' makes a new calibration"},
        {"point-not-found", "give another --point"},

        // evaluation
        {"levels-without-scale", "--scale tells it"},
        {"units-differ", "--scale is for images of 8 bits only; convert the other one"},

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
