// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_OUTPUT_PLY_H
#define VISION_TOOLKIT_OUTPUT_PLY_H

#include <vision/toolkit/export.h>

#include <opencv2/core/mat.hpp>

#include <string>

namespace vision::toolkit {

/// Encodes the trusted points of an image as binary little-endian PLY with colour, row by row.
/// @param points `CV_32FC3`
/// @param view the image the points belong to, `CV_8UC1` or `CV_8UC3` (BGR), of the same size
VISION_TOOLKIT_EXPORT std::string encodePly(const cv::Mat& points, const cv::Mat& view);

} // namespace vision::toolkit

#endif
