// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_BOARD_DETECTION_BOARD_SIZE_H
#define VISION_TOOLKIT_SRC_BOARD_DETECTION_BOARD_SIZE_H

#include <vision/toolkit/board/board.h>

#include <optional>
#include <vector>

namespace vision::toolkit {

/// The size of the board that these images show, if it is the given one or one that people confuse with it.
/// @return nothing when none of these is seen
std::optional<cv::Size> findBoardSize(const std::vector<cv::Mat>& images, const Board& board);

/// The kind of board that these images show.
/// @param board one that none of them shows
/// @return nothing when it is none that is known, or one with other numbers of points
std::optional<Pattern> findPattern(const std::vector<cv::Mat>& images, const Board& board);

} // namespace vision::toolkit

#endif
