// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_DEPTH_SUMMARY_H
#define VISION_TOOLKIT_DEPTH_SUMMARY_H

#include <vision/toolkit/depth/pair_depth.h>
#include <vision/toolkit/export.h>

#include <opencv2/core/matx.hpp>

#include <string>

namespace vision::toolkit {

/// Whether a pixel of the point image holds a point.
VISION_TOOLKIT_EXPORT bool isTrusted(const cv::Vec3f& point);

/// The share of matched pixels and the depth of the trusted points.
struct DepthSummary
{
    double matchedPercent;
    double
        beyondPercent; ///< of the matched pixels: those without a point, as they are beyond the largest depth
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
