// SPDX-License-Identifier: Apache-2.0
/// @file
/// The boards that cameras are calibrated with, and finding them in images.
#ifndef VISION_TOOLKIT_BOARD_BOARD_H
#define VISION_TOOLKIT_BOARD_BOARD_H

#include <vision/toolkit/export.h>

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <string>
#include <vector>

namespace vision::toolkit {

enum class Pattern
{
    Chessboard,
    Circles,           ///< a grid of dark circles on a light ground
    AsymmetricCircles, ///< the same with every other row moved by half the distance of two circles
    Charuco,           ///< a chessboard with markers in its light squares; may be seen in part
};

/// What was printed. Its points (the inner corners of a chessboard, the centres of circles) are numbered row
/// by row.
struct Board
{
    Pattern pattern = Pattern::Chessboard;
    cv::Size size; ///< points per row and per column
    double spacing =
        0; ///< m; edge of a square, distance of two circles, asymmetric: half of that along a row
    double markerSize = 0;  ///< m; edge of a marker, Charuco only
    std::string dictionary; ///< of the markers, as OpenCV calls it, such as "DICT_4X4_50"; Charuco only
    /// How far the middle lies behind the ends of a row, behind those of a column, and by how much two
    /// opposite corners lie behind the other two (a quarter of it); m. Zero for a flat board.
    cv::Vec3d bend;
};

using Corners = std::vector<cv::Point2f>;

/// The points of a board that are seen in one image, in the order of their numbers.
struct BoardDetection
{
    std::vector<int> ids; ///< their numbers
    Corners corners;      ///< where they are, px; whole numbers are the centres of pixels

    [[nodiscard]] bool empty() const { return ids.empty(); }
};

/// How hard a chessboard is looked for. The search for one that is not there takes the longest.
enum class Effort
{
    Quick,    ///< for even light: one threshold for the whole image
    Usual,    ///< the same, then thresholds that follow the light, at reduced size
    Thorough, ///< the same at twice that size, too
};

/// Finds the points of a board with sub-pixel accuracy.
///
/// Large images are searched at reduced size first; corners of chessboards are then refined at full size in a
/// window of a third of the smallest spacing: one that reaches the next corner spoils the refinement.
/// @param grey `CV_8UC1`
/// @return empty unless all points are seen; with Charuco, unless enough of them are seen to tell a pose
/// @throws Failure for Charuco, when OpenCV was built without markers or the dictionary is unknown
VISION_TOOLKIT_EXPORT BoardDetection findBoard(const cv::Mat& grey, const Board& board, Effort effort);

/// The same board, flat.
VISION_TOOLKIT_EXPORT Board flatten(Board board);

/// The points on the board itself, by number, in m: in the plane z = 0 when it is flat; a bent one keeps the
/// distances along its surface.
VISION_TOOLKIT_EXPORT std::vector<cv::Point3f> makeBoardPoints(const Board& board);

/// Those of them with these numbers.
VISION_TOOLKIT_EXPORT std::vector<cv::Point3f> makeBoardPoints(const Board& board,
                                                               const std::vector<int>& numbers);

/// Whether the board looks the same when it is turned by 180 degrees, so that the order of its points is a
/// guess.
VISION_TOOLKIT_EXPORT bool canBeTurned(const Board& board);

} // namespace vision::toolkit

#endif
