// SPDX-License-Identifier: Apache-2.0
/// @file
/// What a board of known size says about depth.
#ifndef VISION_TOOLKIT_CHECK_BOARD_CHECK_H
#define VISION_TOOLKIT_CHECK_BOARD_CHECK_H

#include <vision/toolkit/board/board.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/features/row_offsets.h>
#include <vision/toolkit/input/images.h>
#include <vision/toolkit/records/calibration_pair.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace vision::toolkit {

/// Two points that are neighbours on the board.
struct BoardEdge
{
    FeatureMatch first; ///< in rectified images of the calibration's size, px
    FeatureMatch second;
    double length = 0; ///< printed, m
};

/// A board in one pair.
struct BoardCheck
{
    std::vector<BoardEdge> edges;
    double squareMean = 0;      ///< triangulated lengths of the edges over the printed ones
    double squareDeviation = 0; ///< standard deviation
    double distance = 0;        ///< median depth of the board's points, m
    double fillRate = 0;        ///< share of the board's pixels with a point

    /// Of the depth image's points on the board to the plane that fits them best, without those beyond three
    /// spreads, m; nothing for fewer than 100 points.
    std::optional<double> planeRms;

    /// Median depth of these points minus that of the triangulated board, m.
    std::optional<double> absoluteError;
};

/// Measures a board with the calibration and with matching by default.
/// @return nothing when the board is not seen in both images, in front of the cameras
/// @throws Failure when the images do not fit the calibration
VISION_TOOLKIT_EXPORT std::optional<BoardCheck> checkBoard(const ImagePair& pair, const Board& board,
                                                           const CalibrationPair& calibrations);

/// All boards of a sequence.
struct BoardSummary
{
    std::size_t boards = 0;
    double squareMean = 0;          ///< of all edges, 1 when they have the printed length
    double squareDeviation = 0;     ///< standard deviation
    double squareUncertainty = 0;   ///< standard deviation of the mean, by the spread between boards
    double fillRate = 0;            ///< median over the boards
    std::optional<double> planeRms; ///< medians over the boards that have one, m
    std::optional<double> absoluteError;
};

/// @param boards one at least
VISION_TOOLKIT_EXPORT BoardSummary summariseBoards(const std::vector<BoardCheck>& boards);

} // namespace vision::toolkit

#endif
