// SPDX-License-Identifier: Apache-2.0
#include "calibration/board_pose.h"

#include <opencv2/calib3d.hpp>

#include <cmath>

namespace vision::toolkit {

namespace {

/// What the points of a view should give in one image, and how it changes with the position of the board.
struct Projection
{
    Corners corners;
    cv::Mat residuals; ///< 2N x 1
    cv::Mat jacobian;  ///< 2N x 6: by rotation and translation of the camera that was projected with
};

Projection project(const CameraFit& camera, const cv::Mat& rotation, const cv::Mat& translation,
                   const std::vector<cv::Point3f>& points, const Corners& seen)
{
    Projection projection;
    cv::Mat jacobian;
    cv::projectPoints(
        points, rotation, translation, camera.matrix, camera.distortion, projection.corners, jacobian);
    projection.jacobian = jacobian.colRange(0, 6);
    const cv::Mat difference = cv::Mat(seen) - cv::Mat(projection.corners);
    difference.reshape(1, 2 * static_cast<int>(points.size())).convertTo(projection.residuals, CV_64F);
    return projection;
}

/// Both images of a view, the right Jacobian by rotation and translation of the left camera, too.
struct Projections
{
    Projection left;
    Projection right;
};

Projections project(const PairFit& fit, const BoardPose& pose, const std::vector<cv::Point3f>& points,
                    const BoardView& view)
{
    const cv::Mat rotation(pose.rotation);
    const cv::Mat translation(pose.translation);
    cv::Mat toRight;
    cv::Rodrigues(fit.rotation, toRight);
    cv::Mat rightRotation;
    cv::Mat rightTranslation;
    cv::Mat rotationByRotation;
    cv::Mat translationByTranslation;
    cv::Mat unused;
    cv::composeRT(rotation,
                  translation,
                  toRight,
                  fit.translation,
                  rightRotation,
                  rightTranslation,
                  rotationByRotation,
                  unused,
                  unused,
                  unused,
                  unused,
                  translationByTranslation,
                  unused,
                  unused);
    Projections projections{project(fit.left, rotation, translation, points, view.left),
                            project(fit.right, rightRotation, rightTranslation, points, view.right)};
    const cv::Mat byRight = projections.right.jacobian;
    cv::hconcat(byRight.colRange(0, 3) * rotationByRotation,
                byRight.colRange(3, 6) * translationByTranslation,
                projections.right.jacobian);
    return projections;
}

/// One step of Gauss and Newton.
/// @return how rotation and translation of the left camera change; 0 where they are not determined
cv::Vec6d findStep(const Projections& projections)
{
    cv::Mat jacobian;
    cv::Mat residuals;
    cv::vconcat(projections.left.jacobian, projections.right.jacobian, jacobian);
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
    const auto points = makeBoardPoints(board, view.points);
    BoardPose pose;
    cv::solvePnP(points, view.left, fit.left.matrix, fit.left.distortion, pose.rotation, pose.translation);
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
