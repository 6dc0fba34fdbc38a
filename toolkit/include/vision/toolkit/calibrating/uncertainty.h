// SPDX-License-Identifier: Apache-2.0
/// @file
/// How well a calibration is determined.
#ifndef VISION_TOOLKIT_CALIBRATING_UNCERTAINTY_H
#define VISION_TOOLKIT_CALIBRATING_UNCERTAINTY_H

#include <vision/toolkit/calibrating/pair_fit.h>
#include <vision/toolkit/export.h>

#include <opencv2/core/matx.hpp>

#include <vector>

namespace vision::toolkit {

/// The expected error of a depth, one standard deviation each.
struct DepthError
{
    double depth; ///< m, from the left camera
    /// m, rms over the image; NaN with too few poses to tell, and where a camera sees nothing at this depth
    double fromCalibration;
    double fromMatching; ///< m, of a disparity that is off by a quarter of a pixel
};

/// Standard deviations of what was estimated; NaN where there are too few poses to tell.
struct PairUncertainty
{
    PairDeviation cameras{};
    double baseline = 0; ///< m
    cv::Vec3d rotation;  ///< of the right camera against the left one, about its x, y and z axis; degrees
    double unseenRowError = 0;      ///< px rms, of views against fits that did not see them
    std::vector<DepthError> depths; ///< at 0.5, 1, 2 and 5 m
};

/// Tells how well a fit is determined.
///
/// The parameters of each camera by the curvature of the sum of its squared residuals, what both have in
/// common by the jackknife: everything is fitted anew without one pose after the other, and the spread of
/// those fits tells the uncertainty. With many poses, 24 that are spread evenly stand for all; what they give
/// shrinks with the root of the number of all. Views of the same pose count once.
/// @param views those that the fit rests on
VISION_TOOLKIT_EXPORT PairUncertainty findUncertainty(const std::vector<const BoardView*>& views,
                                                      const cv::Size& imageSize, const Board& board,
                                                      const LensModel& lens, const PairFit& fit);

} // namespace vision::toolkit

#endif
