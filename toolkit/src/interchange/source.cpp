// SPDX-License-Identifier: Apache-2.0
#include "interchange/source.h"

#include "interchange/numbers.h"
#include "records/rotation.h"

#include <vision/toolkit/failure.h>

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace vision::toolkit {

namespace {

/// Makes the left camera the right one and the other way round: x_left = R^T x_right - R^T T.
void exchange(RawRig& rig)
{
    std::swap(rig.leftCamera, rig.rightCamera);
    std::swap(rig.leftDistortion, rig.rightDistortion);
    rig.translation = -rig.rotation.t() * rig.translation;
    rig.rotation = cv::Mat(rig.rotation.t());
}

bool addNumber(const YAML::Node& entry, std::size_t most, std::vector<double>& numbers)
{
    const auto number = entry.IsScalar() ? parseNumber(entry.Scalar()) : std::nullopt;
    if (!number || numbers.size() == most) {
        return false;
    }
    numbers.push_back(*number);
    return true;
}

/// Adds numbers, of one row or of rows of them, as long as there are not too many: a list may hold itself
/// many times over by its aliases.
/// @return whether all of it was added
bool addNumbers(const YAML::Node& list, std::size_t most, std::vector<double>& numbers)
{
    if (!list.IsSequence()) {
        return false;
    }
    const auto addRow = [most, &numbers](const YAML::Node& row) {
        return std::all_of(
            row.begin(), row.end(), [&](const YAML::Node& entry) { return addNumber(entry, most, numbers); });
    };
    return std::all_of(list.begin(), list.end(), [&](const YAML::Node& entry) {
        return entry.IsSequence() ? addRow(entry) : addNumber(entry, most, numbers);
    });
}

std::vector<double> takeAny(const YAML::Node& node, const std::string& key, std::size_t most)
{
    std::vector<double> numbers;
    const YAML::Node value = node[key];
    const YAML::Node list = value.IsDefined() && value.IsMap() ? value["data"] : value;
    return list.IsDefined() && addNumbers(list, most, numbers) ? numbers : std::vector<double>();
}

} // namespace

YAML::Node parseYaml(const std::string& file)
{
    // Ten times what a calibration takes; what the parser needs in memory and time grows with it.
    constexpr std::size_t longest = 64 << 10;
    const std::string text = readText(file);
    if (text.size() > longest) {
        throw Failure("calibration-too-long",
                      file,
                      fmt::format("has more than {} bytes, which no calibration in YAML needs", longest));
    }
    try {
        return YAML::Load(text);
    } catch (const YAML::Exception& error) {
        throw Failure("no-yaml",
                      file,
                      fmt::format("is no readable YAML (line {}: {}): correct it, or write the file anew",
                                  error.mark.line + 1,
                                  error.msg));
    }
}

std::vector<double> takeUpTo(const YAML::Node& node, const std::string& file, const std::string& key,
                             std::size_t most)
{
    std::vector<double> numbers = takeAny(node, key, most);
    if (numbers.empty()) {
        throw Failure(
            "calibration-entry", file, fmt::format("{} must be a list of 1 to {} numbers", key, most));
    }
    return numbers;
}

std::vector<double> takeNumbers(const YAML::Node& node, const std::string& file, const std::string& key,
                                std::size_t count)
{
    std::vector<double> numbers = takeAny(node, key, count);
    if (numbers.size() != count) {
        throw Failure("calibration-entry", file, fmt::format("{} must be a list of {} numbers", key, count));
    }
    return numbers;
}

cv::Mat makeMatrix(const std::vector<double>& numbers, int rows, int depth)
{
    cv::Mat matrix;
    cv::Mat(numbers, true).reshape(1, rows).convertTo(matrix, depth);
    return matrix;
}

CalibrationPair rectifyRig(RawRig rig, const std::string& file)
{
    if (!isRotation(rig.rotation)) {
        throw Failure("no-rotation",
                      file,
                      "the pose of the right camera holds no rotation (orthonormal, no mirror image)");
    }
    for (const cv::Mat& camera : {rig.leftCamera, rig.rightCamera}) {
        if (!(camera.at<double>(0, 0) > 0) || !(camera.at<double>(1, 1) > 0)) {
            throw Failure("focal-length", file, "focal lengths must be positive");
        }
    }
    const double across = std::abs(rig.translation.at<double>(0));
    if (!(across > std::abs(rig.translation.at<double>(1)))) {
        throw Failure(
            "vertical",
            file,
            "the cameras stand above each other or in one place; only cameras side by side can be used");
    }
    if (rig.translation.at<double>(0) > 0) {
        exchange(rig);
    }
    return makeRectifiedRecords(rig, 0);
}

} // namespace vision::toolkit
