// SPDX-License-Identifier: Apache-2.0
/// @file
/// A disparity image as the bytes of a file. All take disparities in px of the image itself, `CV_32FC1`; a
/// pixel has no value where the number is not finite, and formats with floats keep that number. All throw
/// `cv::Exception` for another type or an empty image.
#ifndef VISION_TOOLKIT_OUTPUT_DISPARITY_FORMATS_H
#define VISION_TOOLKIT_OUTPUT_DISPARITY_FORMATS_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/output/encoded_image.h>

#include <opencv2/core/mat.hpp>

#include <string>

namespace vision::toolkit {

/// Portable float map (PFM), grey: little endian with scale 1, bottom row first.
VISION_TOOLKIT_EXPORT std::string encodeDisparityPfm(const cv::Mat& disparity);

/// TIFF with one 32-bit float a pixel.
VISION_TOOLKIT_EXPORT std::string encodeDisparityTiff(const cv::Mat& disparity);

/// PNG with 16 bits: 256 times the disparity, rounded; 0 where there is no value.
///
/// It holds 1/256 px to 255.996 px (65535 / 256). What rounds to less or more does not fit.
VISION_TOOLKIT_EXPORT EncodedImage encodeDisparityPng16(const cv::Mat& disparity);

} // namespace vision::toolkit

#endif
