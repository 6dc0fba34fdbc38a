// SPDX-License-Identifier: Apache-2.0
/// @file
/// Calibrations that other programs wrote.
#ifndef VISION_TOOLKIT_EXCHANGE_FOREIGN_CALIBRATION_H
#define VISION_TOOLKIT_EXCHANGE_FOREIGN_CALIBRATION_H

#include <vision/toolkit/calibration/pair_file.h>
#include <vision/toolkit/export.h>

#include <opencv2/core/types.hpp>

#include <optional>
#include <string>
#include <vector>

namespace vision::toolkit {

enum class CalibrationFormat
{
    Own,           ///< `vision::Calibration::save`, one file per camera
    RosCameraInfo, ///< YAML, one file per camera
    OpenCvStereo,  ///< `intrinsics.yml` and `extrinsics.yml` of OpenCV's stereo sample
    KalibrChain,   ///< camchain YAML, one file for both cameras
    Middlebury,    ///< `calib.txt` with `cam0=[...]`, for rectified images
    Kitti,         ///< `calib.txt` with `P0: ...`, for rectified images
};

/// What a format is called in messages.
VISION_TOOLKIT_EXPORT std::string nameOf(CalibrationFormat format);

/// Tells the format of a calibration file by what it holds.
/// @return nothing when it cannot be read or is none of them
VISION_TOOLKIT_EXPORT std::optional<CalibrationFormat> identify(const std::string& file);

/// What files do not say.
struct ForeignDetails
{
    std::optional<cv::Size> imageSize;   ///< px; OpenCvStereo and Kitti do not hold it
    std::optional<double> metresPerUnit; ///< OpenCvStereo: its lengths are in the unit of the square's size
};

/// Reads the calibrations of both cameras from one or two files of any format, the left camera's first.
///
/// Lengths become metres. What is not rectified yet is rectified with zero disparity at infinity and only
/// valid pixels.
/// @param details what the format does not hold, and nothing else
/// @throws Failure naming the file when it is of no known format, lacks something, or holds what the record
///         cannot (fisheye, equidistant and omnidirectional models), or when the cameras do not stand side by
///         side
VISION_TOOLKIT_EXPORT CalibrationPair readForeign(const std::vector<std::string>& files,
                                                  const ForeignDetails& details);

} // namespace vision::toolkit

#endif
