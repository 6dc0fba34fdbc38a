// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"

#include <vision/toolkit/calibration/facts.h>
#include <vision/toolkit/calibration/faults.h>
#include <vision/toolkit/calibration/pair_file.h>
#include <vision/toolkit/text.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace tool {

using namespace vision::toolkit;

namespace {

struct InfoOptions
{
    std::string left;
    std::string right;
};

void printCamera(const std::string& file, const vision::Calibration& calibration, Console& console)
{
    const CameraFacts facts = describeCamera(calibration);
    const auto two = [](const cv::Point2d& values, int digits) {
        return formatFixed(values.x, digits) + ", " + formatFixed(values.y, digits);
    };
    console.result(file + ":");
    console.result("  image size: " + formatSize(facts.size) + " px");
    console.result("  focal length: " + two(facts.focalLength, 2) + " px");
    console.result("  principal point: " + two(facts.principalPoint, 2) + " px");
    console.result("  field of view: " + two(facts.fieldOfView, 1) + " degrees");
    std::string distortion;
    for (const double coefficient : facts.distortion) {
        distortion += (distortion.empty() ? "" : ", ") + formatFixed(coefficient, 5);
    }
    console.result("  distortion: " + (distortion.empty() ? "none" : distortion));
}

void printPair(const vision::Calibration& left, const vision::Calibration& right, Console& console)
{
    constexpr double quarter = 0.25; // px, what matching is good for
    const PairFacts facts = describePair(left, right);
    console.result("both cameras (lengths in the unit of the calibration; metres if this program made it):");
    console.result("  baseline: " + formatFixed(facts.baseline, 5) + " m");
    console.result("  rectified focal length: " + formatFixed(facts.focalLength, 2) + " px");
    console.result("  principal point difference: " + formatFixed(facts.principalPointDifference, 2) + " px");
    for (const int disparity : {8, 16, 32, 64, 128}) {
        const double depth = facts.depthOf(disparity);
        console.result("  depth at disparity " + std::to_string(disparity) +
                       " px: " + (depth > 0 ? formatFixed(depth, 3) + " m" : "none"));
    }
    for (const int depth : {1, 2, 5, 10}) {
        console.result("  depth error at " + std::to_string(depth) + " m for a quarter pixel: " +
                       formatFixed(1000 * facts.depthError(depth, quarter), 1) + " mm");
    }
    for (const int disparities : {64, 128, 256}) {
        console.result("  nearest depth with " + std::to_string(disparities) +
                       " disparities: " + formatFixed(facts.depthOf(disparities), 3) + " m");
    }
}

/// Prints the faults, and whether there are any.
bool hasFaults(const std::string& files, const Notes& faults, Console& console)
{
    for (const Note& fault : faults) {
        console.error(files + ": " + fault.text);
    }
    return !faults.empty();
}

ExitCode runInfo(const InfoOptions& options, Console& console)
{
    std::vector<std::pair<std::string, vision::Calibration>> cameras;
    for (const std::string& file : {options.left, options.right}) {
        if (!file.empty()) {
            cameras.emplace_back(file, loadCalibration(file));
        }
    }
    bool isFaulty = false;
    for (const auto& [file, calibration] : cameras) {
        if (hasFaults(file, findFaults(calibration), console)) {
            isFaulty = true;
        } else {
            printCamera(file, calibration, console);
        }
    }
    if (!isFaulty && cameras.size() == 2) {
        const auto& [left, right] = std::tie(cameras[0].second, cameras[1].second);
        isFaulty = hasFaults(options.left + " and " + options.right, findPairFaults(left, right), console);
        if (!isFaulty) {
            printPair(left, right, console);
        }
    }
    return isFaulty ? ExitCode::SomeFailed : ExitCode::AllDone;
}

} // namespace

Command addInfo(CLI::App& program)
{
    CLI::App* app =
        program.add_subcommand("info", "Print what a calibration means, and what is wrong with it");
    auto options = std::make_shared<InfoOptions>();
    app->add_option("CALIBRATION", options->left, "Calibration file of the camera, or of the left one")
        ->required();
    app->add_option("RIGHT", options->right, "Calibration file of the right camera");
    app->footer(
        "Exit code 1 when something is wrong with a calibration, or the two do not belong together.\n\n"
        "Example: stereovision info calibration/left.yml calibration/right.yml");
    return {app, [options](Console& console) { return runInfo(*options, console); }};
}

} // namespace tool
