// SPDX-License-Identifier: Apache-2.0
/// @file
/// The small change of the right camera that row offsets speak of.
#ifndef VISION_TOOLKIT_SRC_CHECK_DRIFT_FIT_H
#define VISION_TOOLKIT_SRC_CHECK_DRIFT_FIT_H

#include <vision/toolkit/check/calibration_check.h>

#include <opencv2/core/matx.hpp>

#include <optional>
#include <vector>

namespace vision::toolkit {

using MatchesOfPairs = std::vector<std::vector<FeatureMatch>>;

struct DriftFit
{
    CameraDrift all;         ///< with all terms
    CameraDrift significant; ///< with those only that are significant, 0 for the others

    /// The row offset of a match that the significant terms leave, px.
    [[nodiscard]] double residualOf(const FeatureMatch& match) const;

    /// Whether the significant terms are larger than what calibrating itself leaves.
    [[nodiscard]] bool matters() const;

    cv::Matx34f projection;
};

/// Fits a rotation and a zoom of the right camera to matches of many rectified pairs.
///
/// Turning the right camera by w moves the ray (x, y, 1) by w x (x, y, 1), and a zoom s by s (x, y), so its
/// row by f (w_z x - w_x (1 + y^2) + w_y x y + s y): linear least squares with weights (Tukey's) against
/// wrong matches. Errors of one pair go together (things of one scene, one board); so uncertainties are those
/// of pairs as a whole where these are larger than those of single matches.
/// @param right its rectified projection gives f and the principal point; of the size of the matched images
/// @return nothing for fewer than 20 matches, or all in one place
std::optional<DriftFit> fitDrift(const MatchesOfPairs& pairs, const Calibration& right);

/// Turns the right camera of a calibration back, so that rectified rows correspond again.
/// @param angles pitch, yaw and roll since the calibration, degrees
Calibration correctRotation(const Calibration& right, const cv::Vec3d& angles);

/// The same for a match.
FeatureMatch correctRotation(const FeatureMatch& match, const cv::Vec3d& angles,
                             const cv::Matx34f& projection);

} // namespace vision::toolkit

#endif
