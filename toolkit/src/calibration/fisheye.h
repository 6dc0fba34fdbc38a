// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_FISHEYE_H
#define VISION_TOOLKIT_SRC_CALIBRATION_FISHEYE_H

#include "calibration/pair_fit.h"

#include <vector>

namespace vision::toolkit {

/// Whether the model of a fisheye lens describes one of the cameras far better than that of a common lens
/// does.
bool isFisheye(const std::vector<const BoardView*>& views, const cv::Size& imageSize, const Board& board,
               const LensModel& lens);

} // namespace vision::toolkit

#endif
