// SPDX-License-Identifier: Apache-2.0
#include "depth/verdict.h"

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <limits>

namespace vision::toolkit {

namespace {

/// Whether matches pile up between two disparities at an end of the range: more than a stray few, and nearly
/// as many as if they were spread evenly over the range. (Over the images of docs/accuracy.md an end that
/// leaves a margin has less than 0.3 times an even share.)
bool isCrowded(const DepthResult& depth, double lowest, double highest)
{
    constexpr double strays = 0.01;
    constexpr double evenly = 0.7;
    const int all = cv::countNonZero(depth.disparity < std::numeric_limits<double>::infinity());
    const int inside = cv::countNonZero((depth.disparity >= lowest) & (depth.disparity <= highest));
    const double evenShare = (highest - lowest) / depth.range.disparities;
    return inside > std::max(strays, evenly * evenShare) * all;
}

void judgeEnds(const DepthResult& depth, Notes& notes)
{
    constexpr int end = 3; // px
    const SearchRange& range = depth.range;
    if (isCrowded(depth, range.maxDisparity() + 1 - end, range.maxDisparity() + 1)) {
        notes.push_back({"range-ends-too-early",
                         "many matches lie at the largest disparity searched, " +
                             std::to_string(range.maxDisparity()) +
                             " px, so there are nearer things: give a smaller nearest depth or more "
                             "disparities, or leave the range to the program"});
    }
    const bool endsAtInfinity = depth.scale && range.minDisparity <= depth.scale->atInfinity;
    if (!endsAtInfinity && isCrowded(depth, range.minDisparity - 1, range.minDisparity + end - 1)) {
        notes.push_back({"range-starts-too-late",
                         "many matches lie at the smallest disparity searched, " +
                             std::to_string(range.minDisparity) +
                             " px, so there are farther things: give a larger farthest depth or a smaller "
                             "smallest disparity, or leave the range to the program"});
    }
}

} // namespace

Notes judge(const DepthResult& depth)
{
    constexpr double fewMatched = 0.1; // of foreign images about as much is matched
    constexpr double muchBeyond = 0.1;
    Notes notes;
    judgeEnds(depth, notes);
    if (depth.summary.matched < fewMatched) {
        notes.push_back(
            {"few-matches",
             "only " + fmt::format("{:.1f}", 100 * depth.summary.matched) +
                 " % of the pixels are matched: check that the images are a pair, in this order, and "
                 "that the calibrations are theirs"});
    }
    if (depth.summary.beyond > muchBeyond) {
        notes.push_back({"beyond-largest-depth",
                         fmt::format("{:.0f}", 100 * depth.summary.beyond) +
                             " % of the matched pixels are farther than the largest depth, " +
                             fmt::format("{:.2f}", depth.maxDepth) +
                             " m, and have no point: give a larger one"});
    }
    return notes;
}

} // namespace vision::toolkit
