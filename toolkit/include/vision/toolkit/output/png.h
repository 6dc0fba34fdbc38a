// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_OUTPUT_PNG_H
#define VISION_TOOLKIT_OUTPUT_PNG_H

#include <vision/toolkit/export.h>

#include <opencv2/core/mat.hpp>

#include <string>

namespace vision::toolkit {

/// Encodes an image or a picture as PNG, with the channels and the bit depth that it has.
/// @param image 8 or 16 bits; 1, 3 (BGR) or 4 channels
/// @throws cv::Exception for any other image
VISION_TOOLKIT_EXPORT std::string encodePng(const cv::Mat& image);

} // namespace vision::toolkit

#endif
