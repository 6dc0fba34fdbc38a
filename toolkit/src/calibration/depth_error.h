// SPDX-License-Identifier: Apache-2.0
/// @file
/// What the uncertainty of a fit makes of depths.
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_DEPTH_ERROR_H
#define VISION_TOOLKIT_SRC_CALIBRATION_DEPTH_ERROR_H

#include "calibration/adjustment.h"

#include <vector>

namespace vision::toolkit {

/// Where in the left image, and how far away, the board was seen.
struct SeenSpace
{
    cv::Mat covered;    ///< `CV_8U`, not 0 where it was seen
    double nearest = 0; ///< m
    double farthest = 0;
};

/// The relative errors of a depth, one standard deviation each, at places all over the part of the image that
/// the board covered, as far as the right camera sees them, too.
/// @param covariance of that adjustment
/// @param depth m, from the left camera
std::vector<double> findDepthErrors(const Adjustment& adjustment, const cv::Mat& covariance,
                                    const cv::Mat& covered, double depth);

} // namespace vision::toolkit

#endif
