// SPDX-License-Identifier: Apache-2.0
/// @file
/// One detector for each kind of board.
#ifndef VISION_TOOLKIT_SRC_BOARD_DETECTION_DETECTION_H
#define VISION_TOOLKIT_SRC_BOARD_DETECTION_DETECTION_H

#include <vision/toolkit/board/board.h>

#include <vector>

namespace vision::toolkit {

/// An image at a size at which boards are looked for.
struct SearchLevel
{
    cv::Mat grey;
    double factor; ///< its size over that of the full image
};

/// Halves an image until it is small enough to be searched in milliseconds.
/// @return the smallest first, the full image last
std::vector<SearchLevel> makeSearchLevels(const cv::Mat& grey);

/// The next smaller level.
SearchLevel halve(const SearchLevel& level, const cv::Mat& full);

/// Moves points of a level to where they are in the full image.
Corners scaleToFull(Corners corners, const SearchLevel& level);

/// @return the corners row by row, or none
Corners findChessboard(const cv::Mat& grey, const cv::Size& size, Effort effort);

/// @return the centres row by row, or none
Corners findCircles(const cv::Mat& grey, const Board& board);

/// @throws Failure when OpenCV was built without markers or does not know the dictionary
void requireCharuco(const Board& board);

BoardDetection findCharuco(const cv::Mat& grey, const Board& board);

} // namespace vision::toolkit

#endif
