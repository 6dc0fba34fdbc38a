// SPDX-License-Identifier: Apache-2.0
/// @file
/// Whether a calibration still holds, judged by fresh pairs.
#ifndef VISION_TOOLKIT_CHECK_CALIBRATION_CHECK_H
#define VISION_TOOLKIT_CHECK_CALIBRATION_CHECK_H

#include <vision/toolkit/check/board_check.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/features/row_offsets.h>
#include <vision/toolkit/input/images.h>
#include <vision/toolkit/note.h>
#include <vision/toolkit/records/calibration_pair.h>

#include <opencv2/core/mat.hpp>

#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vision::toolkit {

/// A value and its standard deviation.
struct Estimate
{
    double value = 0;
    double uncertainty = 0;

    /// Whether it differs from 0 by more than three standard deviations.
    [[nodiscard]] bool isSignificant() const { return std::abs(value) > 3 * uncertainty; }
};

/// How the right camera has changed against the left one since the calibration, as far as rows tell: they see
/// pitch, roll and zoom well and yaw hardly; the distance of the cameras and a zoom of both not at all. The
/// axes are those of the rectified frame: x to the right, y down, z forward.
struct CameraDrift
{
    Estimate pitch;       ///< about x, degrees
    Estimate yaw;         ///< about y, degrees
    Estimate roll;        ///< about z, degrees
    Estimate zoom;        ///< how much larger the right image has become, percent
    double explained = 0; ///< rms of the row offsets that the significant ones of these cause, px
    double residual = 0;  ///< spread of the row offsets that they leave, px, as in RowOffsets
};

/// What one pair tells.
struct PairCheck
{
    std::string name;
    RowOffsets rows;
    std::vector<FeatureMatch> matches; ///< in rectified images of the calibration's size, px
    std::optional<BoardCheck> board;   ///< when one was looked for and found
    cv::Mat leftThumbnail; ///< `CV_32FC1`, of the raw image, which shows whether a camera stands still
    cv::Mat rightThumbnail;
};

/// Measures a pair with a calibration.
/// @param board is looked for, unless it has no size
/// @throws Failure when the images do not fit the calibration
VISION_TOOLKIT_EXPORT PairCheck checkPair(const std::string& name, const ImagePair& pair,
                                          const CalibrationPair& calibrations, const Board& board = {});

enum class CheckVerdict
{
    Holds,          ///< a drift that matters would have been seen
    Drifted,        ///< a camera has moved or its lens has changed, or distances of the board are wrong
    Foreign,        ///< the calibration does not belong to the images
    Unsynchronised, ///< some pairs fit and others do not: their images are of different moments
    CannotTell,     ///< the pairs tell too little
};

/// A part of the image, one of three by three.
struct RegionOffset
{
    double median; ///< px; NaN without matches
    std::size_t matched;
};

/// What all pairs tell together. docs/checking.md gives the limits of each verdict and their reasons.
struct CalibrationCheck
{
    CheckVerdict verdict = CheckVerdict::CannotTell;
    Notes reasons;     ///< for what the verdict is; empty when the calibration holds
    RowOffsets rows{}; ///< of all pairs together
    double rms = 0;    ///< of the row offsets within five spreads of the median, px; NaN without
    std::array<RegionOffset, 9> regions{}; ///< from top left to bottom right, row by row
    std::optional<CameraDrift> drift;      ///< nothing with too few matches
    double trend = 0; ///< change of the median from the first to the last pair, px; NaN for fewer than three
    std::optional<BoardSummary> board; ///< of all pairs in which one was found
};

/// Judges the pairs of a sequence together, in their order.
VISION_TOOLKIT_EXPORT CalibrationCheck judgeCalibration(const std::vector<PairCheck>& pairs,
                                                        const CalibrationPair& calibrations);

} // namespace vision::toolkit

#endif
