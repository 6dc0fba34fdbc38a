#ifndef VISION_TOOLKIT_CALIBRATING_JUDGEMENT_H
#define VISION_TOOLKIT_CALIBRATING_JUDGEMENT_H

#include <vision/toolkit/calibrating/calibration_report.h>

#include <vector>

namespace vision::toolkit {

/// What speaks against a calibration, judged by its result; docs/calibrating.md argues the limits.
std::vector<Reason> judge(const CalibrationResult& result);

} // namespace vision::toolkit

#endif
