// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_INPUT_IMAGE_FILE_H
#define VISION_TOOLKIT_INPUT_IMAGE_FILE_H

#include <vision/toolkit/export.h>

#include <opencv2/core/mat.hpp>

#include <string>

namespace vision::toolkit {

/// Reads an image with the depth and channels that its file has. A tag that asks viewers to turn the image
/// is ignored: a calibration holds for the pixels as the camera gave them.
/// @throws Failure naming the file when it is missing, no file, empty, cut off or not a readable image
VISION_TOOLKIT_EXPORT cv::Mat readImage(const std::string& file);

} // namespace vision::toolkit

#endif
