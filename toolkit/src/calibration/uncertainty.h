// SPDX-License-Identifier: Apache-2.0
/// @file
/// How well a calibration is determined.
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_UNCERTAINTY_H
#define VISION_TOOLKIT_SRC_CALIBRATION_UNCERTAINTY_H

#include "calibration/pair_fit.h"

#include <opencv2/core/matx.hpp>

#include <vector>

namespace vision::toolkit {

/// Tells how well a fit is determined.
///
/// The parameters of each camera by the curvature of the sum of its squared residuals, what both have in
/// common by the jackknife: everything is fitted anew without one pose after the other, and the spread of
/// those fits tells the uncertainty. With many poses, 24 that are spread evenly stand for all; what they give
/// shrinks with the root of the number of all. Views of the same pose count once.
/// @param views those that the fit rests on
PairUncertainty findUncertainty(const std::vector<const BoardView*>& views, const cv::Size& imageSize,
                                const Board& board, const LensModel& lens, const PairFit& fit);

} // namespace vision::toolkit

#endif
