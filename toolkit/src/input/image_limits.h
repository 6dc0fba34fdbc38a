// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_INPUT_IMAGE_LIMITS_H
#define VISION_TOOLKIT_SRC_INPUT_IMAGE_LIMITS_H

#include <vision/toolkit/input/images.h>

#include <cstddef>
#include <string>

namespace vision::toolkit {

/// @param pixels that would be decoded at once
/// @throws Failure "image-too-large" or "image-larger-than-expected"
void requireWithin(const ImageLimits& limits, const cv::Size& size, double pixels, const std::string& name);

/// The bytes that a file of such an image has at most.
std::size_t mostImageBytes(const ImageLimits& limits);

} // namespace vision::toolkit

#endif
