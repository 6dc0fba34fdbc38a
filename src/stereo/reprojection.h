// SPDX-License-Identifier: Apache-2.0
/// Turns disparities into points and blanks those that cannot be trusted.
#ifndef VISION_STEREO_REPROJECTION_H
#define VISION_STEREO_REPROJECTION_H

#include "stereo/reprojection_row.h"

#include <opencv2/core.hpp>

namespace vision::detail {

/// Reprojects a disparity image with the 4x4 matrix q; points that cannot be trusted become (0, 0, 0).
///
/// Gives every bit that cv::reprojectImageTo3D gives; in one pass over the image if q is that of a horizontal
/// pair.
/// @param disparity `CV_32FC1`, of two dimensions
cv::Mat reproject(const cv::Mat& disparity, const cv::Matx44d& q, const DepthLimits& limits);

} // namespace vision::detail

#endif
