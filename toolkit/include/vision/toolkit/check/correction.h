// SPDX-License-Identifier: Apache-2.0
/// @file
/// Taking a small rotation into a calibration, where it is certain and holds on pairs it was not found in.
#ifndef VISION_TOOLKIT_CHECK_CORRECTION_H
#define VISION_TOOLKIT_CHECK_CORRECTION_H

#include <vision/calibration.h>
#include <vision/toolkit/check/calibration_check.h>
#include <vision/toolkit/export.h>

#include <opencv2/core/types.hpp>

#include <optional>
#include <vector>

namespace vision::toolkit {

/// A thing whose distance was measured.
struct KnownDistance
{
    FeatureMatch match;  ///< where it is in rectified images of the calibration's size, px
    double distance = 0; ///< from the left camera, m
};

/// Finds a point of the left image in the right one.
/// @param point in the raw left image, px
/// @param distance of what is there from the left camera, m
/// @throws Failure when the point is not found, or the images do not fit the calibration
VISION_TOOLKIT_EXPORT KnownDistance findKnownDistance(const ImagePair& pair,
                                                      const CalibrationPair& calibrations,
                                                      const cv::Point2d& point, double distance);

/// A calibration of the right camera that was turned back.
struct Correction
{
    Calibration right;
    double pitch = 0; ///< taken back, degrees; 0 for what is not corrected
    double yaw = 0;
    double roll = 0;
    double before = 0; ///< median of the absolute row offsets of the pairs held back, px
    double after = 0;
};

/// Corrects what is significant (three standard deviations) and determined: pitch and roll by rows; yaw by a
/// board or a known distance alone, as a yaw of 0.01 degrees that is wrong costs more depth than it costs
/// rows. Pitch and roll that are found in every other pair must improve the pairs between.
/// @return nothing when there is nothing to correct
/// @throws Failure when it cannot be corrected: "too-few-pairs", "not-one-drift" (other verdicts than drifted
/// or holding, and rows that change within the sequence), "scale-changed", "correction-does-not-help"
VISION_TOOLKIT_EXPORT std::optional<Correction>
makeCorrection(const std::vector<PairCheck>& pairs, const CalibrationCheck& check,
               const CalibrationPair& calibrations, const std::optional<KnownDistance>& known = std::nullopt);

} // namespace vision::toolkit

#endif
