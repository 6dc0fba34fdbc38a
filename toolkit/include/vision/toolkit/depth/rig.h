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
    double focalLength = 0; ///< px, 1 to 10^6
    double baseline = 0;    ///< m, 10^-6 to 10^6
    double doffs =
        0; ///< px, cx of the right minus cx of the left image, less than a width: Z = f B / (d + doffs)
    std::optional<cv::Point2d>
        principalPoint; ///< px, of the left image, at most 10^6; unless given its centre
};

/// What is known of the two cameras. Only makeRig() and makeRectifiedRig() make one, so it is without faults.
struct Rig
{
    cv::Size size;                               ///< of the images that all numbers in px hold for
    bool isRectified;                            ///< whether the images are rectified already
    std::optional<CalibrationPair> calibrations; ///< none: there is disparity only

private:
    Rig(const cv::Size& theSize, bool rectified, std::optional<CalibrationPair> theCalibrations);

    friend VISION_TOOLKIT_EXPORT Rig makeRig(const CalibrationPair& calibrations);
    friend VISION_TOOLKIT_EXPORT Rig makeRectifiedRig(const cv::Size& imageSize,
                                                      const std::optional<RectifiedGeometry>& geometry);
};

/// Cameras whose images must be rectified.
/// @throws Failure with the first of findFaults() or findPairFaults(), if there is one
VISION_TOOLKIT_EXPORT Rig makeRig(const CalibrationPair& calibrations);

/// Cameras whose images are rectified already.
/// @throws Failure "image-size" when a side is not 1 to 32767 px, "rectified-geometry" when the geometry is
///         beyond its limits
VISION_TOOLKIT_EXPORT Rig makeRectifiedRig(const cv::Size& imageSize,
                                           const std::optional<RectifiedGeometry>& geometry);

/// Relates disparity and depth in images of the given width.
/// @return nothing without calibrations
VISION_TOOLKIT_EXPORT std::optional<DepthScale> findDepthScale(const Rig& rig, int width);

} // namespace vision::toolkit

#endif
