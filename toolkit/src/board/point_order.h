// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_BOARD_POINT_ORDER_H
#define VISION_TOOLKIT_SRC_BOARD_POINT_ORDER_H

#include <vision/toolkit/board/board_search.h>

namespace vision::toolkit {

/// Turns the order of the points in the right image so that rows and columns run as in the left one. Two
/// cameras side by side see them run in nearly the same directions.
void agreeOnOrder(const Board& board, BoardView& view);

/// What may have been done to all images of a camera before they were stored.
enum class ImageChange
{
    None,
    Turned,             ///< by 180 degrees
    TurnedRight,        ///< by 90 degrees, clockwise
    TurnedLeft,         ///< by 90 degrees, counterclockwise
    Mirrored,           ///< left and right
    MirroredUpsideDown, ///< top and bottom
};

/// Where corners would be, had the image not been changed, about the middle of the image. The corners of a
/// mirrored board get the order that a detector would give them.
/// @param columns points in a row of the board
Corners undo(ImageChange change, const Corners& corners, const cv::Size& image, int columns);

} // namespace vision::toolkit

#endif
