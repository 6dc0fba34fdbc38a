// SPDX-License-Identifier: Apache-2.0
/// @file
/// How well a calibration is determined.
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_UNCERTAINTY_H
#define VISION_TOOLKIT_SRC_CALIBRATION_UNCERTAINTY_H

#include "calibration/depth_error.h"

#include <opencv2/core/matx.hpp>

#include <vector>

namespace vision::toolkit {

/// Tells how well a fit is determined: the residuals give the scatter of the corners, and least squares how
/// that carries over to all that is estimated and to depths. Views of the same pose count once.
/// @param views those that the fit rests on
/// @param board with the bend that the fit rests on
PairUncertainty findUncertainty(const std::vector<const BoardView*>& views, const cv::Size& imageSize,
                                const Board& board, const LensModel& lens, const PairFit& fit,
                                const SeenSpace& seen);

} // namespace vision::toolkit

#endif
