// SPDX-License-Identifier: Apache-2.0
/// JPEG by the library itself: OpenCV decodes damaged files without a word.
#ifndef VISION_TOOLKIT_SRC_INPUT_JPEG_H
#define VISION_TOOLKIT_SRC_INPUT_JPEG_H

#include "input/image_header.h"

#include <opencv2/core/mat.hpp>

#include <vector>

namespace vision::toolkit {

/// @throws std::runtime_error when the header is damaged
ImageHeader readJpegHeader(const std::vector<unsigned char>& bytes);

/// Decodes a grey or colour image, to the same values as cv::imdecode.
/// @return `CV_8UC1` or `CV_8UC3` (BGR)
/// @throws std::runtime_error with the library's text when it has anything to say against the file: where
/// bytes are missing it goes on with those that follow, and shows them in the wrong place
cv::Mat decodeJpeg(const std::vector<unsigned char>& bytes);

} // namespace vision::toolkit

#endif
