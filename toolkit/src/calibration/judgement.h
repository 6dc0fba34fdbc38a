// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_JUDGEMENT_H
#define VISION_TOOLKIT_SRC_CALIBRATION_JUDGEMENT_H

#include <vision/toolkit/calibration/calibration_report.h>

#include <vector>

namespace vision::toolkit {

/// The largest one of both cameras and directions, relative to the focal length; NaN when it cannot be told.
double findFocalLengthUncertainty(const CalibrationResult& result);

/// What residuals have as their cause, as far as only that cause makes such residuals.
enum class ResidualCause
{
    Unknown,
    NotSimultaneous, ///< each camera alone fits
    RollingShutter,
};

/// What speaks against a calibration, judged by its result; docs/calibrating.md argues the limits.
/// @param cause of residuals that are high
std::vector<Reason> judge(const CalibrationResult& result, ResidualCause cause);

/// Above it residuals are high, px.
constexpr double highResiduals = 0.5;

} // namespace vision::toolkit

#endif
