// SPDX-License-Identifier: Apache-2.0
/// The ratio between the calibration's and an image's width, which adapts the parameters.
#ifndef VISION_STEREO_IMAGE_SCALE_H
#define VISION_STEREO_IMAGE_SCALE_H

#include <opencv2/core/mat.hpp>

namespace vision::detail {

/// Returns the truncated ratio of the widths, at least 1.
/// @throws std::invalid_argument (logged under the caller's name) when the image is empty, has more than two
///         dimensions or is wider than the calibration, or the calibration has no width
int requireImageScale(const cv::Mat& image, int calibrationWidth, const char* caller);

/// The smallest disparity that the matchers search in an image of that scale.
///
/// It is one below the scaled parameter, at full size too: the parameter is the disparity of a point at the
/// maximum depth, and to estimate fractions of a pixel there takes the neighbour below.
inline int scaleMinDisparity(int minDisparity, int scale)
{
    return minDisparity / scale - 1;
}

} // namespace vision::detail

#endif
