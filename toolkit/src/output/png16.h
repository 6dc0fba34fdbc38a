// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_OUTPUT_PNG16_H
#define VISION_TOOLKIT_SRC_OUTPUT_PNG16_H

#include <vision/toolkit/output/encodings.h>

#include <opencv2/core/mat.hpp>

namespace vision::toolkit {

/// Encodes an image as PNG with 16 bits: each value times a factor, rounded. What is not from 1 to 65535 then
/// does not fit and becomes 0.
/// @param image `CV_32FC1`
/// @param none what stands for no value, besides everything that is not finite; becomes 0, too
EncodedImage encodePng16(const cv::Mat& image, float factor, float none);

} // namespace vision::toolkit

#endif
