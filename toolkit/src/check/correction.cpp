// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/check/calibration_check.h>

#include "base/statistics.h"

#include <vision/toolkit/failure.h>

#include <opencv2/calib3d.hpp>

#include <cmath>

namespace vision::toolkit {

namespace {

using Matches = std::vector<FeatureMatch>;

/// Where points of the right image come to lie when the camera is turned back.
cv::Point2d turnBack(const cv::Point2d& point, const cv::Matx33d& rotation, const cv::Matx34f& projection)
{
    const double f = projection(0, 0);
    const double cx = projection(0, 2), cy = projection(1, 2);
    const cv::Vec3d ray = rotation * cv::Vec3d((point.x - cx) / f, (point.y - cy) / f, 1);
    return {f * ray[0] / ray[2] + cx, f * ray[1] / ray[2] + cy};
}

double findOffset(const Matches& matches, const cv::Vec3d& angles, const Calibration& right)
{
    cv::Matx33d back;
    cv::Rodrigues(-angles, back);
    std::vector<double> offsets;
    for (const FeatureMatch& match : matches) {
        offsets.push_back(std::abs(turnBack(match.right, back, right.projectionMatrix).y - match.left.y));
    }
    return medianAndSpread(std::move(offsets)).median;
}

Rotation fit(const Matches& matches, const Calibration& right)
{
    const auto rotation = fitRotation(matches, right);
    if (!rotation) {
        throw Failure(
            "--correct: too few points are found in both images; take more pairs, with more structure");
    }
    return *rotation;
}

} // namespace

Correction makeCorrection(const std::vector<PairCheck>& pairs, const CalibrationPair& calibrations)
{
    if (pairs.size() < 2) {
        throw Failure(
            "--correct: needs two pairs and more, as it is tried on pairs that it was not found in");
    }
    Matches fitted, heldBack, all;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        for (Matches* matches : {i % 2 == 0 ? &fitted : &heldBack, &all}) {
            matches->insert(matches->end(), pairs[i].matches.begin(), pairs[i].matches.end());
        }
    }
    Correction correction;
    correction.before = findOffset(heldBack, {0, 0, 0}, calibrations.right);
    correction.after = findOffset(heldBack, fit(fitted, calibrations.right).angles, calibrations.right);
    correction.right = correctRotation(calibrations.right, fit(all, calibrations.right).angles);
    return correction;
}

} // namespace vision::toolkit
