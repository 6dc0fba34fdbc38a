// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_DEPTH_RIG_H
#define VISION_TOOLKIT_DEPTH_RIG_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/matching/search_range.h>
#include <vision/toolkit/records/calibration_pair.h>

#include <opencv2/core/types.hpp>

#include <optional>

namespace vision::toolkit {

/// What turns the disparities of a pair that is rectified already into depth.
struct RectifiedGeometry
{
    double focalLength = 0; ///< px
    double baseline = 0;    ///< m
    double doffs = 0;       ///< px, cx of the right minus cx of the left image: Z = f B / (d + doffs)
    std::optional<cv::Point2d> principalPoint; ///< px, of the left image; unless given its centre
};

/// What is known of the two cameras.
struct Rig
{
    cv::Size size;                               ///< of the images that all numbers in px hold for
    bool isRectified = false;                    ///< whether the images are rectified already
    std::optional<CalibrationPair> calibrations; ///< none: there is disparity only
};

/// Cameras whose images must be rectified.
VISION_TOOLKIT_EXPORT Rig makeRig(const CalibrationPair& calibrations);

/// Cameras whose images are rectified already.
/// @throws Failure when the geometry is not finite, or focal length or baseline are not positive
VISION_TOOLKIT_EXPORT Rig makeRectifiedRig(const cv::Size& imageSize,
                                           const std::optional<RectifiedGeometry>& geometry);

/// Relates disparity and depth in images of the given width.
/// @return nothing without calibrations
VISION_TOOLKIT_EXPORT std::optional<DepthScale> findDepthScale(const Rig& rig, int width);

} // namespace vision::toolkit

#endif
