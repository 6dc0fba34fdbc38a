// SPDX-License-Identifier: Apache-2.0
/// @file
/// The depth of every pixel as the bytes of a file, from depths in metres, `CV_32FC1`, 0 where there is none.
#ifndef VISION_TOOLKIT_OUTPUT_DEPTH_FORMATS_H
#define VISION_TOOLKIT_OUTPUT_DEPTH_FORMATS_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/output/encoded_image.h>

#include <opencv2/core/mat.hpp>

#include <string>

namespace vision::toolkit {

/// The depth (Z) of every point of an image; 0 where none can be trusted, see isTrusted().
/// @param points `CV_32FC3`
/// @return `CV_32FC1` of the same size, in the unit of the points
VISION_TOOLKIT_EXPORT cv::Mat extractDepth(const cv::Mat& points);

/// TIFF with one 32-bit float a pixel: metres; 0 where there is no depth.
/// @throws cv::Exception when the type is not `CV_32FC1` or the image is empty
VISION_TOOLKIT_EXPORT std::string encodeDepthTiff(const cv::Mat& depth);

/// PNG with 16 bits: millimetres, rounded; 0 where there is no depth.
///
/// It holds 1 mm to 65.535 m. What rounds to less or more does not fit.
/// @throws cv::Exception when the type is not `CV_32FC1` or the image is empty
VISION_TOOLKIT_EXPORT EncodedImage encodeDepthPng16(const cv::Mat& depth);

} // namespace vision::toolkit

#endif
