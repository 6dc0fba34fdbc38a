// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"

#include <vision/toolkit/records/calibration_pair.h>
#include <vision/toolkit/records/inspection.h>

#include <fmt/format.h>

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
        return fmt::format("{:.{}f}", values.x, digits) + ", " + fmt::format("{:.{}f}", values.y, digits);
    };
    console.result(file + ":");
    console.result(fmt::format("  image size: {} x {} px", facts.size.width, facts.size.height));
    console.result("  focal length: " + two(facts.focalLength, 2) + " px");
    console.result("  principal point: " + two(facts.principalPoint, 2) + " px");
    console.result("  field of view: " + two(facts.fieldOfView, 1) + " degrees");
    std::string distortion;
    for (const double coefficient : facts.distortion) {
        distortion += (distortion.empty() ? "" : ", ") + fmt::format("{:.5f}", coefficient);
    }
    console.result("  distortion: " + (distortion.empty() ? "none" : distortion));
}

void printPair(const vision::Calibration& left, const vision::Calibration& right, Console& console)
{
    constexpr double quarter = 0.25; // px, what matching is good for
    const DepthScale scale = findDepthScale(left, right);
    console.result("both cameras (lengths in the unit of the calibration; metres if this program made it):");
    console.result("  baseline: " + fmt::format("{:.5f}", scale.baseline) + " m");
    console.result("  rectified focal length: " + fmt::format("{:.2f}", scale.focalLength) + " px");
    console.result("  principal point difference: " + fmt::format("{:.2f}", scale.atInfinity) + " px");
    for (const int disparity : {8, 16, 32, 64, 128}) {
        const double depth = scale.depthAt(disparity);
        console.result("  depth at disparity " + std::to_string(disparity) +
                       " px: " + (depth > 0 ? fmt::format("{:.3f}", depth) + " m" : "none"));
    }
    for (const int depth : {1, 2, 5, 10}) {
        console.result("  depth error at " + std::to_string(depth) + " m for a quarter pixel: " +
                       fmt::format("{:.1f}", 1000 * scale.depthError(depth, quarter)) + " mm");
    }
    for (const int disparities : {64, 128, 256}) {
        console.result("  nearest depth with " + std::to_string(disparities) +
                       " disparities: " + fmt::format("{:.3f}", scale.depthAt(disparities)) + " m");
    }
}

/// Prints the faults, and whether there are any.
bool hasFaults(const std::string& files, const Notes& faults, Console& console)
{
    for (const Note& fault : faults) {
        console.error(about(files, fault));
    }
    return !faults.empty();
}

void tellDoubts(const std::string& files, const Notes& doubts, Console& console)
{
    for (const Note& doubt : doubts) {
        console.note(about(files, doubt));
    }
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
            tellDoubts(file, findDoubts(calibration), console);
        }
    }
    if (!isFaulty && cameras.size() == 2) {
        const auto& [left, right] = std::tie(cameras[0].second, cameras[1].second);
        const std::string files = options.left + " and " + options.right;
        isFaulty = hasFaults(files, findPairFaults(left, right), console);
        if (!isFaulty) {
            printPair(left, right, console);
            tellDoubts(files, findPairDoubts(left, right), console);
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
    app->footer("Exit code 1 when something is wrong with a calibration, or the two do not belong together; "
                "what is only\n"
                "doubtful is noted: another image size or unit, a distortion that folds the image.\n\n"
                "Example: stereovision info calibration/left.yml calibration/right.yml");
    return {app, [options](Console& console) { return runInfo(*options, console); }};
}

} // namespace tool
