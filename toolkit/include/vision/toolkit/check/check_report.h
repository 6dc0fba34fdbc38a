// SPDX-License-Identifier: Apache-2.0
/// @file
/// The result of a check for programs and people.
#ifndef VISION_TOOLKIT_CHECK_CHECK_REPORT_H
#define VISION_TOOLKIT_CHECK_CHECK_REPORT_H

#include <vision/toolkit/check/board_check.h>
#include <vision/toolkit/check/calibration_check.h>
#include <vision/toolkit/export.h>

#include <optional>
#include <string>
#include <vector>

namespace vision::toolkit {

/// "holds", "drifted" or "foreign".
VISION_TOOLKIT_EXPORT std::string nameOf(CheckVerdict verdict);

/// "pitch 0.010 +- 0.002, yaw 0.100 +- 0.300, roll -0.020 +- 0.003", in degrees.
VISION_TOOLKIT_EXPORT std::string describeRotation(const Rotation& rotation);

/// One object with `verdict`, `reasons` (objects with `code` and `text`), `rowOffsetMedian`,
/// `rowOffsetSpread`, `rowOffsetRms`, `trend` (px), `regions` (nine medians, px), `rotation` (degrees:
/// `pitch`, `yaw`, `roll` and the same with `Uncertainty`; null when not known), `board` (null unless one was
/// looked for and found: `boards`, `squareMean`, `squareDeviation`, `planeRms` and `absoluteError` in m,
/// `fillRate`) and `pairs`.
VISION_TOOLKIT_EXPORT std::string toJson(const std::vector<PairCheck>& pairs, const CalibrationCheck& check,
                                         const std::optional<BoardSummary>& board);

} // namespace vision::toolkit

#endif
