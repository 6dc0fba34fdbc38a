// SPDX-License-Identifier: Apache-2.0
/// @file
/// Where a camera sees the points of a board, to first order.
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_PROJECTION_H
#define VISION_TOOLKIT_SRC_CALIBRATION_PROJECTION_H

#include <vision/toolkit/calibration/calibration_report.h>

#include <vector>

namespace vision::toolkit {

/// What the N points of a view should give in one image, and how that changes with what it depends on.
struct Projection
{
    Corners corners;
    cv::Mat residuals;     ///< 2N x 1, seen minus expected, px
    cv::Mat byRotation;    ///< 2N x 3, of the board, axis times angle
    cv::Mat byTranslation; ///< 2N x 3, m
    cv::Mat byCamera;      ///< 2N x (4 + distortion): fx, fy, cx, cy, OpenCV's coefficients

    [[nodiscard]] cv::Mat byPose() const; ///< 2N x 6, both together
};

/// @param rotation of the board, 3x1, `CV_64F`
/// @param translation of the board, 3x1, `CV_64F`
Projection project(const CameraFit& camera, const cv::Mat& rotation, const cv::Mat& translation,
                   const std::vector<cv::Point3f>& points, const Corners& seen);

/// The same with the position of the board that fits this image alone.
/// @param rotation is set to that of the board
Projection projectFitted(const CameraFit& camera, const std::vector<int>& ids, const Corners& seen,
                         const Board& board, cv::Mat& rotation);

/// What remains of the columns of a matrix when those of another one may explain what they can.
cv::Mat takeOut(const cv::Mat& explaining, const cv::Mat& matrix);

/// The position of the board in the frame of the right camera, and how it changes.
struct RightPosition
{
    cv::Mat rotation;
    cv::Mat translation;
    cv::Mat rotationByLeft; ///< by the rotation in the left camera's frame, 3x3
    cv::Mat translationByLeft;
    cv::Mat rotationByRig;    ///< by the rotation of the right camera, 3x3
    cv::Mat translationByRig; ///< by that rotation, too
};

RightPosition toRight(const PairFit& fit, const cv::Mat& rotation, const cv::Mat& translation);

} // namespace vision::toolkit

#endif
