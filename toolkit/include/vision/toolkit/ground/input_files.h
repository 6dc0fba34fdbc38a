// SPDX-License-Identifier: Apache-2.0
/// @file
/// Disparities, ground truth and masks from files.
#ifndef VISION_TOOLKIT_GROUND_INPUT_FILES_H
#define VISION_TOOLKIT_GROUND_INPUT_FILES_H

#include <vision/toolkit/export.h>

#include <opencv2/core/mat.hpp>

#include <optional>
#include <string>

namespace vision::toolkit {

/// A disparity image as a file gives it.
struct DisparityFile
{
    cv::Mat disparity; ///< `CV_32FC1`, px; +infinity where there is no value
    bool hasLevels;    ///< whether the file has grey levels of 8 bits, to which the scale was applied
};

/// Reads a disparity image.
///
/// - Portable float map (PFM) or TIFF with floats: px; not finite, 0 or negative for no value. The scale in
///   the header of a PFM tells the byte order by its sign; its magnitude is not applied.
/// - 16 bits: 256 a px; 0 for no value.
/// - 8 bits: grey levels; 0 for no value.
/// @param pxPerLevel disparity of one grey level in px, positive; only for files of 8 bits
/// @throws Failure naming the file when it cannot be read, holds something else or needs pxPerLevel
VISION_TOOLKIT_EXPORT DisparityFile readDisparity(const std::string& file, std::optional<double> pxPerLevel);

/// Reads a mask: a grey image that is black in the pixels that do not count.
/// @return `CV_8UC1`, 255 in the pixels that count and 0 in the others
/// @throws Failure naming the file when it cannot be read, is not grey or nothing counts
VISION_TOOLKIT_EXPORT cv::Mat readMask(const std::string& file);

} // namespace vision::toolkit

#endif
