// SPDX-License-Identifier: Apache-2.0
#include "calibration/board_pose.h"

#include "calibration/projection.h"

#include <opencv2/calib3d.hpp>

#include <cmath>

namespace vision::toolkit {

namespace {

/// Both images of a view.
struct Projections
{
    Projection left;
    Projection right;
    cv::Mat leftByPose; ///< 2N x 6, by the position in the left camera's frame
    cv::Mat rightByPose;
};

Projections project(const PairFit& fit, const BoardPose& pose, const std::vector<cv::Point3f>& points,
                    const BoardView& view)
{
    const cv::Mat rotation(pose.rotation);
    const cv::Mat translation(pose.translation);
    const RightPosition right = toRight(fit, rotation, translation);
    Projections both{project(fit.left, rotation, translation, points, view.left),
                     project(fit.right, right.rotation, right.translation, points, view.right),
                     {},
                     {}};
    both.leftByPose = both.left.byPose();
    cv::hconcat(both.right.byRotation * right.rotationByLeft,
                both.right.byTranslation * right.translationByLeft,
                both.rightByPose);
    return both;
}

/// One step of Gauss and Newton.
/// @return how rotation and translation of the left camera change; 0 where they are not determined
cv::Vec6d findStep(const Projections& projections)
{
    cv::Mat jacobian;
    cv::Mat residuals;
    cv::vconcat(projections.leftByPose, projections.rightByPose, jacobian);
    cv::vconcat(projections.left.residuals, projections.right.residuals, residuals);
    cv::Vec6d change;
    const bool isFound = cv::solve(jacobian, residuals, change, cv::DECOMP_NORMAL | cv::DECOMP_CHOLESKY);
    return isFound ? change : cv::Vec6d();
}

double rmsOf(const cv::Mat& residuals)
{
    return cv::norm(residuals) / std::sqrt(residuals.rows / 2.0); // a point has two
}

} // namespace

cv::Vec3d BoardPose::toCamera(const cv::Vec3d& point) const
{
    cv::Matx33d matrix;
    cv::Rodrigues(rotation, matrix);
    return matrix * point + translation;
}

double BoardPose::rms() const
{
    return std::sqrt((rmsLeft * rmsLeft + rmsRight * rmsRight) / 2);
}

BoardPose findPose(const PairFit& fit, const BoardView& view, const Board& board)
{
    constexpr int mostSteps = 10;
    constexpr double still = 1e-8; // rad and m
    const auto points = makeBoardPoints(board, view.ids);
    BoardPose pose;
    cv::solvePnP(makeBoardPoints(flatten(board), view.ids),
                 view.left,
                 fit.left.matrix,
                 fit.left.distortion,
                 pose.rotation,
                 pose.translation);
    Projections projections = project(fit, pose, points, view);
    for (int step = 0; step < mostSteps; ++step) {
        const cv::Vec6d change = findStep(projections);
        if (cv::norm(change) < still) {
            break;
        }
        pose.rotation += cv::Vec3d(change[0], change[1], change[2]);
        pose.translation += cv::Vec3d(change[3], change[4], change[5]);
        projections = project(fit, pose, points, view);
    }
    pose.left = projections.left.corners;
    pose.right = projections.right.corners;
    pose.rmsLeft = rmsOf(projections.left.residuals);
    pose.rmsRight = rmsOf(projections.right.residuals);
    return pose;
}

} // namespace vision::toolkit
