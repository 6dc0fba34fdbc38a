// SPDX-License-Identifier: Apache-2.0
/// @file
/// Calibrations for other programs.
#ifndef VISION_TOOLKIT_EXCHANGE_EXPORTS_H
#define VISION_TOOLKIT_EXCHANGE_EXPORTS_H

#include <vision/toolkit/calibration/pair_file.h>
#include <vision/toolkit/export.h>

#include <string>

namespace vision::toolkit {

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
