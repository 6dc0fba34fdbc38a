// SPDX-License-Identifier: Apache-2.0
#include "board/detection/detection.h"

#include <vision/toolkit/failure.h>

namespace vision::toolkit {

void requireCharuco(const Board& /*board*/)
{
    throw Failure(
        "no-marker-detector",
        "pattern",
        "this build cannot find markers: its OpenCV lacks the module aruco, or has it in a form that is "
        "not known; use a chessboard or a grid of circles");
}

BoardDetection findCharuco(const cv::Mat& /*grey*/, const Board& board)
{
    requireCharuco(board);
    return {};
}

} // namespace vision::toolkit
