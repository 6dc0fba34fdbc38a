// SPDX-License-Identifier: Apache-2.0
#include "calibration/projection.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

namespace vision::toolkit {

Projection project(const CameraFit& camera, const cv::Mat& rotation, const cv::Mat& translation,
                   const std::vector<cv::Point3f>& points, const Corners& seen)
{
    Projection projection;
    cv::Mat jacobian;
    cv::projectPoints(
        points, rotation, translation, camera.matrix, camera.distortion, projection.corners, jacobian);
    projection.byRotation = jacobian.colRange(0, 3);
    projection.byTranslation = jacobian.colRange(3, 6);
    projection.byCamera = jacobian.colRange(6, 10 + static_cast<int>(camera.distortion.total()));
    const cv::Mat difference = cv::Mat(seen) - cv::Mat(projection.corners);
    difference.reshape(1, 2 * static_cast<int>(points.size())).convertTo(projection.residuals, CV_64F);
    return projection;
}

cv::Mat Projection::byPose() const
{
    cv::Mat both;
    cv::hconcat(byRotation, byTranslation, both);
    return both;
}

Projection projectFitted(const CameraFit& camera, const std::vector<int>& ids, const Corners& seen,
                         const Board& board, cv::Mat& rotation)
{
    constexpr int mostSteps = 10;
    constexpr double still = 1e-9; // rad and m
    const auto points = makeBoardPoints(board, ids);
    cv::Mat translation;
    cv::solvePnP(
        makeBoardPoints(flatten(board), ids), seen, camera.matrix, camera.distortion, rotation, translation);
    Projection projection = project(camera, rotation, translation, points, seen);
    for (int step = 0; step < mostSteps; ++step) {
        cv::Mat change;
        if (!cv::solve(
                projection.byPose(), projection.residuals, change, cv::DECOMP_NORMAL | cv::DECOMP_CHOLESKY) ||
            cv::norm(change) < still) {
            break;
        }
        rotation += change.rowRange(0, 3);
        translation += change.rowRange(3, 6);
        projection = project(camera, rotation, translation, points, seen);
    }
    return projection;
}

cv::Mat takeOut(const cv::Mat& explaining, const cv::Mat& matrix)
{
    cv::Mat coefficients;
    if (!cv::solve(explaining, matrix, coefficients, cv::DECOMP_NORMAL | cv::DECOMP_CHOLESKY)) {
        return matrix.clone();
    }
    return matrix - explaining * coefficients;
}

RightPosition toRight(const PairFit& fit, const cv::Mat& rotation, const cv::Mat& translation)
{
    RightPosition right;
    cv::Mat rigRotation;
    cv::Rodrigues(fit.rotation, rigRotation);
    cv::Mat unused;
    cv::composeRT(rotation,
                  translation,
                  rigRotation,
                  fit.translation,
                  right.rotation,
                  right.translation,
                  right.rotationByLeft,
                  unused,
                  right.rotationByRig,
                  unused,
                  unused,
                  right.translationByLeft,
                  right.translationByRig,
                  unused);
    return right;
}

} // namespace vision::toolkit
