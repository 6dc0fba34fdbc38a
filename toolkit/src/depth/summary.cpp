// SPDX-License-Identifier: Apache-2.0
#include "depth/summary.h"

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <limits>
#include <vector>

namespace vision::toolkit {

namespace {

std::vector<float> collectDepths(const cv::Mat& points)
{
    std::vector<float> depths;
    depths.reserve(points.total());
    for (int row = 0; row < points.rows; ++row) {
        const auto* const end = points.ptr<cv::Vec3f>(row) + points.cols;
        for (const auto* point = points.ptr<cv::Vec3f>(row); point != end; ++point) {
            if (isTrusted(*point)) {
                depths.push_back((*point)[2]);
            }
        }
    }
    return depths;
}

} // namespace

DepthSummary summarise(const cv::Mat& disparity, const cv::Mat& points)
{
    const cv::Mat matched = disparity < std::numeric_limits<double>::infinity();
    DepthSummary summary;
    const int matches = cv::countNonZero(matched);
    summary.matched = matches / static_cast<double>(matched.total());

    std::vector<float> depths = collectDepths(points);
    summary.points = depths.size();
    if (!points.empty() && matches > 0) {
        summary.beyond = 1 - static_cast<double>(depths.size()) / matches;
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
    const std::string matched = "matched " + fmt::format("{:.1f}", 100 * summary.matched) + " %";
    if (summary.points == 0) {
        return matched + ", no depth";
    }
    return matched + ", depth median " + fmt::format("{:.3f}", summary.median) + " m, range " +
           fmt::format("{:.3f}", summary.nearest) + " to " + fmt::format("{:.3f}", summary.farthest) + " m";
}

} // namespace vision::toolkit
