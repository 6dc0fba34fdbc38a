// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_OUTPUT_IMAGE_BYTES_H
#define VISION_TOOLKIT_SRC_OUTPUT_IMAGE_BYTES_H

#include <vision/toolkit/files/output_files.h>

#include <opencv2/core/mat.hpp>

namespace vision::toolkit {

/// Encodes an image with OpenCV.
/// @param extension selects the format, such as ".png"
/// @throws Failure "cannot-encode" when it cannot
Bytes encodeImage(const char* extension, const cv::Mat& image);

} // namespace vision::toolkit

#endif
