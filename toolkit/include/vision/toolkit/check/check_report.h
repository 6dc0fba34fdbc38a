// SPDX-License-Identifier: Apache-2.0
/// @file
/// The result of a check for programs and people.
#ifndef VISION_TOOLKIT_CHECK_CHECK_REPORT_H
#define VISION_TOOLKIT_CHECK_CHECK_REPORT_H

#include <vision/toolkit/check/calibration_check.h>
#include <vision/toolkit/export.h>

#include <string>
#include <vector>

namespace vision::toolkit {

/// "holds", "drifted", "foreign", "unsynchronised" or "cannot-tell".
VISION_TOOLKIT_EXPORT std::string nameOf(CheckVerdict verdict);

/// "pitch 0.010 +- 0.002, yaw 0.100 +- 0.300, roll -0.020 +- 0.003 degrees, zoom 0.01 +- 0.02 %".
VISION_TOOLKIT_EXPORT std::string describeDrift(const CameraDrift& drift);

/// One object with `verdict`, `reasons` (objects with `code`, `severity` and `text`), `rowOffsetMedian`,
/// `rowOffsetSpread`, `rowOffsetRms`, `trend` (px), `regions` (nine medians, px), `drift` (`pitch`, `yaw` and
/// `roll`, degrees, `zoom`, percent, and the same with `Uncertainty`; null when not known), `board` (null
/// unless one was looked for and found: `boards`, `squareMean`, `squareDeviation`, `squareUncertainty`,
/// `fillRate`, `planeRms` and `absoluteError` in m) and `pairs`. What is unknown is null.
VISION_TOOLKIT_EXPORT std::string toJson(const std::vector<PairCheck>& pairs, const CalibrationCheck& check);

} // namespace vision::toolkit

#endif
