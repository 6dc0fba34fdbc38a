// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/check/calibration_check.h>

#include "base/statistics.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>

namespace vision::toolkit {

namespace {

/// One row for each match: how each angle moves the row of the right point, px per radian.
cv::Mat buildDesign(const std::vector<FeatureMatch>& matches, const cv::Matx34f& projection)
{
    const double f = projection(0, 0);
    cv::Mat design(static_cast<int>(matches.size()), 3, CV_64F);
    for (int i = 0; i < design.rows; ++i) {
        const cv::Point2d& point = matches[static_cast<std::size_t>(i)].right;
        const double x = (point.x - projection(0, 2)) / f;
        const double y = (point.y - projection(1, 2)) / f;
        design.at<double>(i, 0) = -f * (1 + y * y);
        design.at<double>(i, 1) = f * x * y;
        design.at<double>(i, 2) = f * x;
    }
    return design;
}

cv::Mat listOffsets(const std::vector<FeatureMatch>& matches)
{
    cv::Mat offsets(static_cast<int>(matches.size()), 1, CV_64F);
    for (int i = 0; i < offsets.rows; ++i) {
        const auto& [left, right] = matches[static_cast<std::size_t>(i)];
        offsets.at<double>(i) = right.y - left.y;
    }
    return offsets;
}

/// Tukey's weights: 1 for a small residual, 0 beyond 4.7 times the spread.
cv::Mat weigh(const cv::Mat& residuals, double spread)
{
    constexpr double cutOff = 4.685;
    cv::Mat weights(residuals.size(), CV_64F);
    for (int i = 0; i < residuals.rows; ++i) {
        const double ratio = residuals.at<double>(i) / (cutOff * spread);
        weights.at<double>(i) = std::abs(ratio) < 1 ? std::pow(1 - ratio * ratio, 2) : 0;
    }
    return weights;
}

double findSpread(const cv::Mat& residuals)
{
    return medianAndSpread({residuals.begin<double>(), residuals.end<double>()}).spread;
}

} // namespace

std::optional<Rotation> fitRotation(const std::vector<FeatureMatch>& matches, const Calibration& right)
{
    constexpr std::size_t fewest = 20;
    constexpr int rounds = 10;
    constexpr double noise = 0.05; // px; no match is better than that
    constexpr double bias =
        0.02; // px, that interpolating gives all matches in common; more of them do not help
    if (matches.size() < fewest) {
        return std::nullopt;
    }
    const cv::Mat design = buildDesign(matches, right.projectionMatrix);
    const cv::Mat offsets = listOffsets(matches);
    cv::Mat angles = (cv::Mat_<double>(3, 1) << 0, 0, 0);
    // The median is pitch to begin with, so that an offset beyond the spread does not weigh everything down.
    angles.at<double>(0) = -medianAndSpread({offsets.begin<double>(), offsets.end<double>()}).median /
                           double{right.projectionMatrix.at<float>(0, 0)};
    cv::Mat inverse;
    double variance = 0;
    for (int round = 0; round < rounds; ++round) {
        const cv::Mat residuals = offsets - design * angles;
        const cv::Mat weights = weigh(residuals, std::max(findSpread(residuals), noise));
        const cv::Mat weighted = design.mul(cv::repeat(weights, 1, 3));
        if (cv::invert(design.t() * weighted, inverse, cv::DECOMP_CHOLESKY) == 0) {
            return std::nullopt; // all points in one place
        }
        angles = inverse * (weighted.t() * offsets);
        variance = residuals.mul(residuals).dot(weights) / std::max(cv::sum(weights)[0] - 3, 1.0);
    }
    Rotation rotation{};
    for (int axis = 0; axis < 3; ++axis) {
        rotation.angles[axis] = angles.at<double>(axis);
        const double effect = cv::norm(design.col(axis)) / std::sqrt(design.rows); // px per radian
        rotation.uncertainty[axis] =
            std::hypot(std::sqrt(variance * inverse.at<double>(axis, axis)), bias / effect);
    }
    const cv::Mat model = design * angles;
    rotation.explained = std::sqrt(model.dot(model) / model.rows);
    rotation.residual = findSpread(offsets - model);
    return rotation;
}

Calibration correctRotation(const Calibration& right, const cv::Vec3d& angles)
{
    Calibration corrected(right);
    cv::Mat back;
    cv::Rodrigues(-angles, back);
    cv::Mat before = cv::Mat::eye(3, 3, CV_64F);
    if (!right.rectificationMatrix.empty()) {
        right.rectificationMatrix.convertTo(before, CV_64F);
    }
    cv::Mat(back * before).convertTo(corrected.rectificationMatrix, CV_32F);
    return corrected;
}

} // namespace vision::toolkit
