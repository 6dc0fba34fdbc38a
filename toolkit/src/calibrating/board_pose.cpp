#include "calibrating/board_pose.h"

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

double rmsOf(const cv::Mat& residuals)
{
    return cv::norm(residuals) / std::sqrt(residuals.rows / 2.0); // a point has two
}

std::vector<cv::Point3f> select(const std::vector<cv::Point3f>& boardPoints, const std::vector<int>& numbers)
{
    std::vector<cv::Point3f> points;
    for (const int number : numbers) {
        points.push_back(boardPoints[static_cast<std::size_t>(number)]);
    }
    return points;
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

BoardPose findPose(const PairFit& fit, const BoardView& view, const std::vector<cv::Point3f>& boardPoints)
{
    constexpr int mostSteps = 10;
    constexpr double still = 1e-8; // rad and m
    const auto points = select(boardPoints, view.points);
    cv::Mat toRight;
    cv::Rodrigues(fit.rotation, toRight);

    BoardPose pose;
    cv::solvePnP(points, view.left, fit.left.matrix, fit.left.distortion, pose.rotation, pose.translation);
    for (int step = 0;; ++step) {
        const cv::Mat rotation(pose.rotation);
        const cv::Mat translation(pose.translation);
        cv::Mat rightRotation;
        cv::Mat rightTranslation;
        cv::Mat rotationByRotation;
        cv::Mat translationByTranslation;
        cv::Mat unused[6];
        cv::composeRT(rotation,
                      translation,
                      toRight,
                      fit.translation,
                      rightRotation,
                      rightTranslation,
                      rotationByRotation,
                      unused[0],
                      unused[1],
                      unused[2],
                      unused[3],
                      translationByTranslation,
                      unused[4],
                      unused[5]);
        const Projection left = project(fit.left, rotation, translation, points, view.left);
        const Projection right = project(fit.right, rightRotation, rightTranslation, points, view.right);
        pose.left = left.corners;
        pose.right = right.corners;
        pose.rmsLeft = rmsOf(left.residuals);
        pose.rmsRight = rmsOf(right.residuals);
        if (step == mostSteps) {
            return pose;
        }
        // Gauss and Newton: the right camera's rotation and translation follow those of the left one.
        cv::Mat jacobian;
        cv::Mat residuals;
        cv::Mat rightJacobian;
        cv::hconcat(right.jacobian.colRange(0, 3) * rotationByRotation,
                    right.jacobian.colRange(3, 6) * translationByTranslation,
                    rightJacobian);
        cv::vconcat(left.jacobian, rightJacobian, jacobian);
        cv::vconcat(left.residuals, right.residuals, residuals);
        cv::Vec6d change;
        if (!cv::solve(jacobian, residuals, change, cv::DECOMP_NORMAL | cv::DECOMP_CHOLESKY) ||
            cv::norm(change) < still) {
            return pose;
        }
        pose.rotation += cv::Vec3d(change[0], change[1], change[2]);
        pose.translation += cv::Vec3d(change[3], change[4], change[5]);
    }
}

} // namespace vision::toolkit
