// SPDX-License-Identifier: Apache-2.0
/// The reprojection of one row in one pass.
#ifndef VISION_STEREO_REPROJECTION_ROW_H
#define VISION_STEREO_REPROJECTION_ROW_H

#include <opencv2/core/matx.hpp>

namespace vision::detail {

/// What a point can be trusted up to.
struct DepthLimits
{
    float maxDepth;
    float invalidDisparity; ///< the disparity of pixels without a match; none at or below it counts
};

/// A row is computed in whole blocks of this length, since loops of constant length vectorise best.
inline constexpr int pixelsPerBlock = 64;

/// The homogeneous coordinates of the points of one row. Only W depends on the disparity.
struct HomogeneousRow
{
    const double* x; ///< of each pixel, up to the end of the last block
    double y;
    double z;
    double wPerDisparity;
    double wAtZero;
};

/// Reprojects one row and blanks the points that cannot be trusted.
void reprojectRow(const float* disparity, int columns, const HomogeneousRow& homogeneous,
                  const DepthLimits& limits, cv::Vec3f* points);

} // namespace vision::detail

#endif
