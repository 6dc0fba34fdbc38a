// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_BOARD_DETECTION_BOARD_SIZE_H
#define VISION_TOOLKIT_SRC_BOARD_DETECTION_BOARD_SIZE_H

#include <vision/toolkit/board/board.h>

#include <vector>

namespace vision::toolkit {

/// The size of the board that these images show, if it is the given one or one that people confuse with it.
/// @return the given size when no other is seen
cv::Size findBoardSize(const std::vector<cv::Mat>& images, const Board& board);

} // namespace vision::toolkit

#endif
