// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_DEPTH_SUMMARY_H
#define VISION_TOOLKIT_DEPTH_SUMMARY_H

#include <vision/toolkit/depth/pair_depth.h>
#include <vision/toolkit/export.h>

#include <opencv2/core/matx.hpp>

#include <cmath>
#include <string>

namespace vision::toolkit {

/// Whether a pixel of the point image holds a point.
inline bool isTrusted(const cv::Vec3f& point)
{
    return point[2] > 0 && std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]);
}

/// The share of matched pixels and the depth of the trusted points.
struct DepthSummary
{
    double matchedPercent;
    /// Of the matched pixels: those without a point, as they are beyond the largest depth.
    double beyondPercent;
    std::size_t points; ///< trusted ones; the depths are 0 when there are none
    float median;       ///< m
    float nearest;
    float farthest;
};

VISION_TOOLKIT_EXPORT DepthSummary summarise(const PairDepth& depth);

/// "matched 63.1 %, depth median 0.42 m, 0.31 m to 4.87 m".
VISION_TOOLKIT_EXPORT std::string format(const DepthSummary& summary);

} // namespace vision::toolkit

#endif
