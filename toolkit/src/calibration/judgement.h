// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_JUDGEMENT_H
#define VISION_TOOLKIT_SRC_CALIBRATION_JUDGEMENT_H

#include <vision/toolkit/calibration/calibration_report.h>

#include <vector>

namespace vision::toolkit {

/// The largest one of both cameras and directions, relative to the focal length; NaN when it cannot be told.
double findFocalLengthUncertainty(const CalibrationResult& result);

/// What speaks against a calibration, judged by its result; docs/calibrating.md argues the limits.
std::vector<Reason> judge(const CalibrationResult& result);

} // namespace vision::toolkit

#endif
