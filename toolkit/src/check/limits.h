// SPDX-License-Identifier: Apache-2.0
/// @file
/// The limits of the verdicts on a calibration; docs/checking.md gives the reason for each.
#ifndef VISION_TOOLKIT_SRC_CHECK_LIMITS_H
#define VISION_TOOLKIT_SRC_CHECK_LIMITS_H

namespace vision::toolkit::limits {

inline constexpr double beyondDoubt = 4;         ///< standard deviations, from which on an alarm is given
inline constexpr double mostRows = 0.25;         ///< px, that pitch may move them
inline constexpr double mostRoll = 0.065;        ///< degrees
inline constexpr double mostZoom = 0.25;         ///< percent
inline constexpr double mostPlausibleZoom = 2;   ///< percent; beyond, it is another lens
inline constexpr double mostExplained = 0.4;     ///< px rms that all of these together may cause
inline constexpr double mostResidual = 1.2;      ///< px, spread that no movement explains
inline constexpr double mostSquareError = 0.01;  ///< share of the printed length
inline constexpr double mostUncertainRows = 0.3; ///< px, three standard deviations
inline constexpr double mostUncertainRoll = 0.3; ///< degrees, three standard deviations
inline constexpr double mostChange = 0.3;        ///< px, of rows within a sequence
inline constexpr double mostOfOnePair = 0.6;     ///< px, of the rows of a pair against the others
inline constexpr double mostSpreadOfOnePair = 3; ///< times the spread of the others

} // namespace vision::toolkit::limits

#endif
