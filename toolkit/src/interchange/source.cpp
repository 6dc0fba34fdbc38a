// SPDX-License-Identifier: Apache-2.0
#include "interchange/source.h"

#include <vision/toolkit/failure.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
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

} // namespace

YAML::Node parseYaml(const std::string& file)
{
    try {
        return YAML::Load(readText(file));
    } catch (const YAML::Exception& error) {
        throw Failure(file + ": is no readable YAML: " + error.what());
    }
}

std::vector<double> takeNumbers(const YAML::Node& node, const std::string& file, const std::string& key,
                                std::size_t count)
{
    std::vector<double> numbers;
    try {
        const YAML::Node value = node[key];
        const YAML::Node list = value.IsMap() ? value["data"] : value;
        for (const YAML::Node& row : list) {
            if (row.IsSequence()) {
                const auto values = row.as<std::vector<double>>();
                numbers.insert(numbers.end(), values.begin(), values.end());
            } else {
                numbers.push_back(row.as<double>());
            }
        }
    } catch (const YAML::Exception&) {
        numbers.clear();
    }
    const bool isFinite =
        std::all_of(numbers.begin(), numbers.end(), [](double n) { return std::isfinite(n); });
    if (numbers.empty() || !isFinite || (count != 0 && numbers.size() != count)) {
        throw Failure(file + ": " + key + " must be a list of " +
                      (count == 0 ? "" : std::to_string(count) + " ") + "numbers");
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
    const double across = std::abs(rig.translation.at<double>(0));
    if (!(across > std::abs(rig.translation.at<double>(1)))) {
        throw Failure(
            file + ": the cameras stand above each other or in one place; only cameras side by side can be "
                   "used");
    }
    if (rig.translation.at<double>(0) > 0) {
        exchange(rig);
    }
    return makeRectifiedRecords(rig, 0);
}

} // namespace vision::toolkit
