// SPDX-License-Identifier: Apache-2.0
/// @file
/// The small rotation of the right camera that row offsets speak of.
#ifndef VISION_TOOLKIT_TRUST_ROTATION_H
#define VISION_TOOLKIT_TRUST_ROTATION_H

#include <vision/calibration.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/trust/feature_matches.h>

#include <opencv2/core/matx.hpp>

#include <optional>
#include <vector>

namespace vision::toolkit {

/// How the right camera has turned since the calibration, about the axes of its rectified frame (x to the
/// right, y down, z forward), in radians. Rows see pitch and roll well and yaw hardly; the distance of the
/// cameras not at all.
struct Rotation
{
    cv::Vec3d angles;      ///< pitch (about x), yaw (about y), roll (about z)
    cv::Vec3d uncertainty; ///< standard deviations
    double explained;      ///< rms of the row offsets that the rotation causes at the matched points, px
    double residual;       ///< spread of the row offsets that it leaves, px, as in RowOffsets
};

/// Fits the rotation to matches of many rectified pairs.
///
/// Turning the right camera by w moves the ray (x, y, 1) by w x (x, y, 1), and so its row by
/// f (w_z x - w_x (1 + y^2) + w_y x y): linear least squares with weights (Tukey's) against wrong matches.
/// @param right its rectified projection gives f and the principal point; of the size of the matched images
/// @return nothing for fewer than 20 matches
VISION_TOOLKIT_EXPORT std::optional<Rotation> fitRotation(const std::vector<FeatureMatch>& matches,
                                                          const Calibration& right);

/// Takes a rotation into the calibration of the right camera, so that rectified rows correspond again.
VISION_TOOLKIT_EXPORT Calibration correctRotation(const Calibration& right, const cv::Vec3d& angles);

} // namespace vision::toolkit

#endif
