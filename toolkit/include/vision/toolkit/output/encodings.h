// SPDX-License-Identifier: Apache-2.0
/// @file
/// A disparity image as the bytes of a file. All take disparities in px of the image itself, `CV_32FC1`; a
/// pixel has no value where the number is not finite, and formats with floats keep that number. All throw
/// `cv::Exception` for another type or an empty image.
/// The depth of every pixel as the bytes of a file, from depths in metres, `CV_32FC1`, 0 where there is none.
#ifndef VISION_TOOLKIT_OUTPUT_ENCODINGS_H
#define VISION_TOOLKIT_OUTPUT_ENCODINGS_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/files/output_files.h>

#include <opencv2/core/mat.hpp>

#include <cstddef>

namespace vision::toolkit {

/// The bytes of a file of integers, which cannot hold every number.
struct EncodedImage
{
    Bytes bytes;
    std::size_t unfit; ///< pixels with a value that the format cannot hold; they are written as having none
};

/// Encodes the trusted points of an image as binary little-endian PLY with colour, row by row.
/// @param points `CV_32FC3`
/// @param view the image the points belong to, `CV_8UC1` or `CV_8UC3` (BGR), of the same size
VISION_TOOLKIT_EXPORT Bytes encodePly(const cv::Mat& points, const cv::Mat& view);

/// Portable float map (PFM), grey: little endian with scale 1, bottom row first.
VISION_TOOLKIT_EXPORT Bytes encodeDisparityPfm(const cv::Mat& disparity);

/// TIFF with one 32-bit float a pixel.
VISION_TOOLKIT_EXPORT Bytes encodeDisparityTiff(const cv::Mat& disparity);

/// PNG with 16 bits: 256 times the disparity, rounded; 0 where there is no value.
///
/// It holds 1/256 px to 255.996 px (65535 / 256). What rounds to less or more does not fit.
VISION_TOOLKIT_EXPORT EncodedImage encodeDisparityPng16(const cv::Mat& disparity);

/// The depth (Z) of every point of an image; 0 where none can be trusted, see isTrusted().
/// @param points `CV_32FC3`
/// @return `CV_32FC1` of the same size, in the unit of the points
VISION_TOOLKIT_EXPORT cv::Mat extractDepth(const cv::Mat& points);

/// TIFF with one 32-bit float a pixel: metres; 0 where there is no depth.
/// @throws cv::Exception when the type is not `CV_32FC1` or the image is empty
VISION_TOOLKIT_EXPORT Bytes encodeDepthTiff(const cv::Mat& depth);

/// PNG with 16 bits: millimetres, rounded; 0 where there is no depth.
///
/// It holds 1 mm to 65.535 m. What rounds to less or more does not fit.
/// @throws cv::Exception when the type is not `CV_32FC1` or the image is empty
VISION_TOOLKIT_EXPORT EncodedImage encodeDepthPng16(const cv::Mat& depth);

} // namespace vision::toolkit

#endif
