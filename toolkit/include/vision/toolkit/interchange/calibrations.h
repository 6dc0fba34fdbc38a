// SPDX-License-Identifier: Apache-2.0
/// @file
/// Calibrations that other programs wrote.
/// Calibrations for other programs.
#ifndef VISION_TOOLKIT_INTERCHANGE_CALIBRATIONS_H
#define VISION_TOOLKIT_INTERCHANGE_CALIBRATIONS_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/records/calibration_pair.h>

#include <opencv2/core/types.hpp>

#include <optional>
#include <string>
#include <vector>

namespace vision::toolkit {

/// The pairs of cameras that a calibration of KITTI holds.
enum class KittiCameras
{
    Grey,   ///< P0 and P1
    Colour, ///< P2 and P3
};

/// What files do not say.
struct ForeignDetails
{
    std::optional<cv::Size> imageSize;   ///< px; OpenCvStereo and Kitti do not hold it
    std::optional<double> metresPerUnit; ///< OpenCvStereo: its lengths are in the unit of the square's size
    std::optional<KittiCameras> kittiCameras; ///< Kitti: which took the images, when it holds both pairs
};

/// Reads the calibrations of both cameras from one or two files of any format, the left camera's first.
///
/// Lengths become metres. What is not rectified yet is rectified with zero disparity at infinity and only
/// valid pixels.
/// @param details what the format does not hold, and nothing else
/// @throws Failure naming the file when it is of no known format, lacks something, says something that is not
///         understood, or holds what the record cannot (fisheye, equidistant and omnidirectional models,
///         skew), or when the cameras do not stand side by side; nothing else but for want of memory
VISION_TOOLKIT_EXPORT CalibrationPair readForeign(const std::vector<std::string>& files,
                                                  const ForeignDetails& details);

/// A `camera_info` file of ROS in YAML, as its calibration parser reads it.
/// @param camera its name
/// @throws Failure when the distortion has more coefficients than the model `rational_polynomial` (8)
VISION_TOOLKIT_EXPORT std::string encodeCameraInfo(const Calibration& calibration, const std::string& camera);

/// One JSON object with `imageSize` [width, height], `left` and `right` (each `cameraMatrix`, `distortion`,
/// `rectificationMatrix`, `projectionMatrix`, as nested lists of rows), and the pose of the right camera: `R`
/// and `T` in x_right = R x_left + T, in metres.
VISION_TOOLKIT_EXPORT std::string encodePlain(const CalibrationPair& pair);

} // namespace vision::toolkit

#endif
