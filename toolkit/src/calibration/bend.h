// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_BEND_H
#define VISION_TOOLKIT_SRC_CALIBRATION_BEND_H

#include <vision/toolkit/calibration/calibration_report.h>

#include <optional>
#include <vector>

namespace vision::toolkit {

/// A fit with a board that is not flat.
struct BentFit
{
    PairFit fit;
    Board board;         ///< with its bend
    cv::Vec3d deviation; ///< of the bend, m
};

/// Estimates how the board is bent together with the cameras.
/// @param fit of these views with a flat board
/// @param repeats how many views show each position of the board; more of them are no more certain
/// @return nothing when the bend is not significant, so that it is better taken for flat
std::optional<BentFit> fitBentBoard(const std::vector<const BoardView*>& views, const Board& board,
                                    const LensModel& lens, const PairFit& fit, double repeats);

} // namespace vision::toolkit

#endif
