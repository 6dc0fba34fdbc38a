// SPDX-License-Identifier: Apache-2.0
/// @file
/// From a fit to records: both images on one plane, rows corresponding.
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_RECTIFICATION_H
#define VISION_TOOLKIT_SRC_CALIBRATION_RECTIFICATION_H

#include "calibration/pair_fit.h"

#include <vision/toolkit/records/calibration_pair.h>

namespace vision::toolkit {

/// The directions (x and y at z = 1) in which a camera sees pixels.
std::vector<cv::Point2d> toRays(const std::vector<cv::Point2d>& pixels, const CameraFit& camera);

/// A view after rectification.
struct RectifiedView
{
    Corners left;
    Corners right;
};

/// Rectifies with zero disparity at infinity.
/// @param alpha 0: only valid pixels, 1: all pixels of the images
CalibrationPair makeRecords(const PairFit& fit, const cv::Size& imageSize, double alpha);

RectifiedView rectify(const BoardView& view, const CalibrationPair& records);

/// How far points are from the rows of the same points in the other image, px.
std::vector<double> findRowErrors(const RectifiedView& view);

/// The points in the frame of the rectified left camera, m.
std::vector<cv::Point3d> triangulate(const RectifiedView& view, const CalibrationPair& records);

} // namespace vision::toolkit

#endif
