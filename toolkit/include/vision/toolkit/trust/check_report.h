/// @file
/// The result of a check for programs and people.
#ifndef VISION_TOOLKIT_TRUST_CHECK_REPORT_H
#define VISION_TOOLKIT_TRUST_CHECK_REPORT_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/trust/check.h>

#include <string>
#include <vector>

namespace vision::toolkit {

/// "holds", "drifted" or "foreign".
VISION_TOOLKIT_EXPORT std::string nameOf(CheckVerdict verdict);

/// "pitch 0.010 +- 0.002, yaw 0.100 +- 0.300, roll -0.020 +- 0.003", in degrees.
VISION_TOOLKIT_EXPORT std::string describeRotation(const Rotation& rotation);

/// One object with `verdict`, `reasons` (objects with `code` and `text`), `rowOffsetMedian`, `rowOffsetSpread`,
/// `rowOffsetRms`, `trend` (px), `regions` (nine medians, px), `rotation` (degrees: `pitch`, `yaw`, `roll` and the
/// same with `Uncertainty`; null when not known) and `pairs`.
VISION_TOOLKIT_EXPORT std::string toJson(const std::vector<PairCheck>& pairs, const CalibrationCheck& check);

} // namespace vision::toolkit

#endif
