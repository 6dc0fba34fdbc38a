// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_BOARD_POINT_ORDER_H
#define VISION_TOOLKIT_SRC_BOARD_POINT_ORDER_H

#include <vision/toolkit/board/board_search.h>

namespace vision::toolkit {

/// Turns the order of the points in the right image so that rows and columns run as in the left one. Two
/// cameras side by side see them run in nearly the same directions.
void agreeOnOrder(const Board& board, BoardView& view);

/// Where corners would be, had the image not been turned by 180 degrees.
Corners turnBack(const Corners& corners, const cv::Size& image);

} // namespace vision::toolkit

#endif
