// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_EVALUATION_PFM_H
#define VISION_TOOLKIT_SRC_EVALUATION_PFM_H

#include <vision/toolkit/input/images.h>

#include <opencv2/core/mat.hpp>

#include <string>

namespace vision::toolkit {

/// Whether a file begins as a portable float map does.
/// @throws Failure when it cannot be read
bool isPfm(const std::string& file);

/// Reads a grey portable float map.
///
/// OpenCV's own reader divides by the scale in the header, where programs for disparities write anything, and
/// does not tell what is wrong with a file.
/// @return `CV_32FC1`
/// @throws Failure naming the file when it is damaged, has colours or is beyond the limits
cv::Mat readPfm(const std::string& file, const ImageLimits& limits);

} // namespace vision::toolkit

#endif
