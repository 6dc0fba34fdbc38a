// SPDX-License-Identifier: Apache-2.0
/// @file
/// What a board of known size says about depth.
#ifndef VISION_TOOLKIT_CHECK_BOARD_CHECK_H
#define VISION_TOOLKIT_CHECK_BOARD_CHECK_H

#include <vision/toolkit/board/board.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/input/images.h>
#include <vision/toolkit/records/calibration_pair.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace vision::toolkit {

/// A board in one pair.
struct BoardCheck
{
    std::vector<double> squares; ///< triangulated distances of neighbouring points over the printed one
    double distance = 0;         ///< median depth of the board's points, m
    double planeRms =
        0; ///< of the depth image's points on the board to the plane that fits them best, without
           ///< those beyond three spreads, m
    double absoluteError = 0; ///< median depth of these points minus that of the triangulated board, m
    double fillRate = 0;      ///< share of the board's pixels with a point
};

/// Measures a board with the calibration and with matching by default.
/// @return nothing when the board is not seen in both images
/// @throws Failure when the images do not fit the calibration
VISION_TOOLKIT_EXPORT std::optional<BoardCheck> checkBoard(const ImagePair& pair, const Board& board,
                                                           const CalibrationPair& calibrations);

/// All boards of a sequence.
struct BoardSummary
{
    std::size_t boards = 0;
    double squareMean = 0;      ///< of all squares, 1 when they have the printed size
    double squareDeviation = 0; ///< standard deviation
    double planeRms = 0;        ///< medians over the boards, m
    double absoluteError = 0;
    double fillRate = 0;
};

/// @param checks one at least
VISION_TOOLKIT_EXPORT BoardSummary summariseBoards(const std::vector<BoardCheck>& checks);

} // namespace vision::toolkit

#endif
