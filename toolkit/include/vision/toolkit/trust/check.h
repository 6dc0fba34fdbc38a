// SPDX-License-Identifier: Apache-2.0
/// @file
/// Whether a calibration still holds, judged by fresh pairs without any board.
#ifndef VISION_TOOLKIT_TRUST_CHECK_H
#define VISION_TOOLKIT_TRUST_CHECK_H

#include <vision/toolkit/calibration/pair_file.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/input/image_pair.h>
#include <vision/toolkit/note.h>
#include <vision/toolkit/trust/rotation.h>
#include <vision/toolkit/trust/row_offsets.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vision::toolkit {

/// What single points of one pair say.
struct PairCheck
{
    std::string name;
    RowOffsets rows;
    std::vector<FeatureMatch> matches; ///< in rectified images of the calibration's size, px
};

/// Measures a pair with a calibration.
/// @throws Failure when the images do not fit the calibration
VISION_TOOLKIT_EXPORT PairCheck checkPair(const std::string& name, const ImagePair& pair,
                                          const CalibrationPair& calibrations);

enum class CheckVerdict
{
    Holds,
    Drifted, ///< rows are off in a way that a small rotation of the right camera explains
    Foreign, ///< the calibration does not belong to the images
};

/// A part of the image, one of three by three.
struct RegionOffset
{
    double median; ///< px; NaN without matches
    std::size_t matched;
};

struct CalibrationCheck
{
    CheckVerdict verdict = CheckVerdict::Foreign;
    Notes reasons;     ///< for what the verdict is, with the way out; empty when the calibration holds
    RowOffsets rows{}; ///< of all pairs together
    double rms = 0;    ///< of the row offsets within five spreads of the median, px
    std::array<RegionOffset, 9> regions{}; ///< from top left to bottom right, row by row
    std::optional<Rotation> rotation;      ///< nothing with too few matches
    double trend = 0; ///< change of the median from the first to the last pair, px; NaN for fewer than three
};

/// Judges the pairs of a sequence together, in their order.
VISION_TOOLKIT_EXPORT CalibrationCheck judgeCalibration(const std::vector<PairCheck>& pairs,
                                                        const CalibrationPair& calibrations);

} // namespace vision::toolkit

#endif
