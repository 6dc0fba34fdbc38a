// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/depth/summary.h>

#include <vision/toolkit/text.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace vision::toolkit {

bool isTrusted(const cv::Vec3f& point)
{
    return point[2] > 0 && std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]);
}

DepthSummary summarise(const PairDepth& depth)
{
    const cv::Mat matched = depth.disparity < std::numeric_limits<double>::infinity();
    DepthSummary summary{};
    const int matches = cv::countNonZero(matched);
    summary.matchedPercent = 100.0 * matches / static_cast<double>(matched.total());

    std::vector<float> depths;
    for (auto point = depth.points.begin<cv::Vec3f>(); point != depth.points.end<cv::Vec3f>(); ++point) {
        if (isTrusted(*point)) {
            depths.push_back((*point)[2]);
        }
    }
    summary.points = depths.size();
    if (!depth.points.empty() && matches > 0) {
        summary.beyondPercent = 100.0 * (1 - static_cast<double>(depths.size()) / matches);
    }
    if (depths.empty()) {
        return summary;
    }
    const auto [nearest, farthest] = std::minmax_element(depths.begin(), depths.end());
    summary.nearest = *nearest;
    summary.farthest = *farthest;
    const auto middle = depths.begin() + static_cast<std::ptrdiff_t>(depths.size() / 2);
    std::nth_element(depths.begin(), middle, depths.end());
    summary.median = *middle;
    return summary;
}

std::string format(const DepthSummary& summary)
{
    const std::string matched = "matched " + formatFixed(summary.matchedPercent, 1) + " %";
    if (summary.points == 0) {
        return matched + ", no depth";
    }
    return matched + ", depth median " + formatFixed(summary.median, 3) + " m, range " +
           formatFixed(summary.nearest, 3) + " to " + formatFixed(summary.farthest, 3) + " m";
}

} // namespace vision::toolkit
