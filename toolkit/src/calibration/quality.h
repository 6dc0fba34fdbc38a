// SPDX-License-Identifier: Apache-2.0
/// @file
/// Figures that tell whether a fit can be trusted.
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_QUALITY_H
#define VISION_TOOLKIT_SRC_CALIBRATION_QUALITY_H

#include "calibration/outlier_rejection.h"

#include <vision/toolkit/calibration/calibration_report.h>

#include <utility>
#include <vector>

namespace vision::toolkit {

enum class Side
{
    Left,
    Right,
};

/// Where in the images of one camera the board was seen: `CV_8U`, 255 there and 0 elsewhere.
cv::Mat drawCovered(const std::vector<const FittedView*>& used, const cv::Size& imageSize, Side side);

/// The distances along the axis of the left camera at which the board was seen, m.
std::pair<double, double> findSeenDistances(const std::vector<const FittedView*>& used, const Board& board);

/// Coverage and residuals in the images of one camera; the valid area is left at 0.
CameraQuality measureCamera(const std::vector<const FittedView*>& used, const cv::Size& imageSize, Side side);

/// The share of a rectified image for which the camera's image has pixels.
double measureValidArea(const Calibration& record);

/// The angle between a board and the image plane, degrees.
double findTilt(const BoardPose& pose);

/// The largest angle between two positions of the board, degrees.
double findTiltRange(const std::vector<const FittedView*>& used);

/// The same as a camera with a common lens would see it. Without tilt, a fit gives any focal length, and with
/// it any tilt.
double findCommonTiltRange(const std::vector<const FittedView*>& used, const BoardSearch& search);

/// Row errors and the re-measured distances of neighbouring points.
void measureRectified(const std::vector<const FittedView*>& used, const Board& board,
                      CalibrationResult& result);

} // namespace vision::toolkit

#endif
