// SPDX-License-Identifier: Apache-2.0
/// @file
/// Which views show a pose of the board of its own.
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_POSES_H
#define VISION_TOOLKIT_SRC_CALIBRATION_POSES_H

#include <vision/toolkit/board/board_search.h>

#include <vector>

namespace vision::toolkit {

/// Views of the same pose tell nothing new about the cameras, however many there are, so each pose counts
/// once.
/// @return the first view of each pose
std::vector<const BoardView*> selectPoses(const std::vector<const BoardView*>& views,
                                          const cv::Size& imageSize);

/// At most so many of them, spread evenly.
std::vector<const BoardView*> spread(const std::vector<const BoardView*>& views, std::size_t most);

} // namespace vision::toolkit

#endif
