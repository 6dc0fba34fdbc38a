// SPDX-License-Identifier: Apache-2.0
/// @file
/// Finding the board in all pairs of images.
#ifndef VISION_TOOLKIT_BOARD_BOARD_SEARCH_H
#define VISION_TOOLKIT_BOARD_BOARD_SEARCH_H

#include <vision/toolkit/board/board.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/input/pair_sequence.h>
#include <vision/toolkit/note.h>
#include <vision/toolkit/progress.h>

#include <optional>
#include <string>
#include <vector>

namespace vision::toolkit {

/// The points of the board that both cameras see at the same moment, in the order of their numbers.
struct BoardView
{
    std::vector<int> ids; ///< their numbers
    Corners left;         ///< px
    Corners right;

    [[nodiscard]] bool empty() const { return ids.empty(); }
};

/// What was found in a pair of images.
struct PairDetection
{
    PairNames images;
    std::string name;           ///< what results of the pair are called after
    cv::Size size;              ///< of each image, px; empty for images that cannot be used
    BoardView view;             ///< empty when the board is not seen in both
    std::optional<Note> reason; ///< why there is no view
    bool isFailed = false;      ///< the images could not be used, so the reason is an error
};

struct BoardSearch
{
    Board board;        ///< as given, or with the size that was found
    cv::Size imageSize; ///< that most views have, px; empty without any
    std::vector<PairDetection> pairs;
    Notes notes; ///< each once
};

/// Finds the board in all pairs.
///
/// - A board that is nowhere seen in the given size, but in one that people give by mistake (counted in
///   squares, columns and rows swapped, one off), is taken in that size; so is one that is larger by a row or
///   a column than given, of which each image could show another part. A note says it.
/// - Where one image of a pair shows the board, the other one is searched with the greatest effort; where
///   none does, the search ends early.
/// - Where the board can be turned, the order of its points in the right image is made to agree with the left
///   one.
/// - Only images of one size can be calibrated together: that of most views. The views of other sizes are
///   dropped.
/// @param workers how many pairs are searched at the same time; 0: as many as there are cores
/// @throws Failure as findBoard(), and "cancelled"
VISION_TOOLKIT_EXPORT BoardSearch findBoards(PairSequence& pairs, const Board& board, unsigned workers = 0,
                                             const Progress& progress = {});

} // namespace vision::toolkit

#endif
