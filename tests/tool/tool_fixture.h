// SPDX-License-Identifier: Apache-2.0
/// Runs the program in a folder of its own, with a pair that sees a plane and a link to real images.
#ifndef TOOL_TOOL_FIXTURE_H
#define TOOL_TOOL_FIXTURE_H

#include "support/process.h"
#include "support/scratch_folder.h"

#include <vision/calibration.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <filesystem>
#include <regex>
#include <string>

namespace support {

/// Shell functions that the tests call.
inline const std::string toolFunctions = R"(
tool() { ')" STEREOVISION_TOOL R"(' "$@"; }
calibrate() { tool calibrate --board "${BOARD:-9x6}" --square "${SQUARE:-25mm}" --output out "$@"; }
depth() {
    tool depth --left-calibration "${LEFT:-left.yml}" --right-calibration "${RIGHT:-right.yml}" \
        --output "${OUTPUT:-out}" "$@"
}
plane() { depth --left l.png --right r.png "$@"; }
)";
// A plane that all pixels see with the same disparity.
inline const cv::Size sceneSize(320, 240);
inline constexpr float focalLength = 300;
inline constexpr float baseline = 0.1f;
inline constexpr int sceneDisparity = 20; // so the plane is at 300 px * 0.1 m / 20 px = 1.5 m

class Tool : public testing::Test
{
protected:
    void SetUp() override
    {
        std::filesystem::create_directory_symlink(STEREOVISION_IMAGE_DIR, path("images"));
        vision::Calibration calibration;
        calibration.width = sceneSize.width;
        calibration.height = sceneSize.height;
        calibration.cameraMatrix =
            (cv::Mat_<float>(3, 3) << focalLength, 0, 160, 0, focalLength, 120, 0, 0, 1);
        cv::hconcat(calibration.cameraMatrix, cv::Mat::zeros(3, 1, CV_32F), calibration.projectionMatrix);
        calibration.save(path("left.yml"));
        calibration.projectionMatrix.at<float>(0, 3) = -focalLength * baseline;
        calibration.save(path("right.yml"));

        cv::Mat noise(sceneSize.height, sceneSize.width + sceneDisparity, CV_8UC1);
        cv::RNG(1).fill(noise, cv::RNG::UNIFORM, 0, 256);
        left = noise.colRange(0, sceneSize.width);
        right = noise.colRange(sceneDisparity, noise.cols);
        cv::imwrite(path("l.png"), left);
        cv::imwrite(path("r.png"), right);
    }

    std::string path(const std::string& name) const { return scratch.path() + "/" + name; }

    /// Runs a shell command and returns what it wrote to stdout.
    std::string run(const std::string& command, int code, const testing::Matcher<std::string>& err,
                    const testing::Matcher<std::string>& out = testing::_) const
    {
        const Outcome outcome = runShell(scratch.path(), toolFunctions + command);
        EXPECT_EQ(outcome.code, code) << command;
        EXPECT_THAT(outcome.err, err) << command;
        EXPECT_THAT(outcome.out, out) << command;
        return outcome.out;
    }

    std::string listOutput() const { return runShell(scratch.path(), "ls -A out").out; }

    /// Matches a text that is a regular expression, with N for a number.
    static testing::Matcher<std::string> isText(const std::string& pattern)
    {
        return testing::MatchesRegex(std::regex_replace(pattern, std::regex("N"), "-?[0-9.]+"));
    }

    /// The number behind a label in the tool's output.
    static double valueOf(const std::string& label, const std::string& output)
    {
        const std::size_t at = output.find(label);
        return at == std::string::npos ? NAN : std::stod(output.substr(at + label.size()));
    }

    const ScratchFolder scratch;
    cv::Mat left;
    cv::Mat right;
};

} // namespace support

#endif
