// SPDX-License-Identifier: Apache-2.0
#include "depth/range_choice.h"

#include <vision/toolkit/failure.h>

#include <algorithm>
#include <cmath>

namespace vision::toolkit {

namespace {

void require(bool holds, const char* text)
{
    if (!holds) {
        throw Failure("range-settings", {}, text);
    }
}

bool isLength(const std::optional<double>& length)
{
    return !length || (*length > 0 && std::isfinite(*length));
}

} // namespace

void requireValid(const RangeSettings& range, const std::optional<double>& maxDepth, const Rig& rig)
{
    require(isLength(range.nearest) && isLength(range.farthest) && isLength(maxDepth),
            "the nearest, the farthest and the largest depth must be positive");
    require(!range.nearest || !range.farthest || *range.nearest < *range.farthest,
            "the nearest depth must be smaller than the farthest");
    require(
        !range.nearest || !range.disparities,
        "the nearest depth and the number of disparities both tell where the range ends: give one of them");
    require(
        !range.farthest || !range.minDisparity,
        "the farthest depth and the smallest disparity both tell where the range starts: give one of them");
    require(
        rig.calibrations || (!range.nearest && !range.farthest && !maxDepth),
        "depths are unknown without calibrations, or focal length and baseline: give disparities instead");
    require(!range.disparities || (*range.disparities > 0 && *range.disparities % 16 == 0),
            "the number of disparities must be a positive multiple of 16");
    require(
        !range.minDisparity || std::abs(static_cast<double>(*range.minDisparity)) <= rig.size.width,
        "the smallest disparity must be at most the image width of the calibration, positive or negative");
}

bool isComplete(const RangeSettings& range)
{
    return (range.minDisparity || range.farthest) && (range.disparities || range.nearest);
}

SearchRange chooseRange(const RangeSettings& range, const DisparityRange& span, const Rig& rig, int width)
{
    const auto scale = findDepthScale(rig, width);
    const double factor = static_cast<double>(width) / rig.size.width;
    DisparityRange chosen{span.lowest * width / span.width, span.highest * width / span.width, width};
    if (range.minDisparity) {
        chosen.lowest = *range.minDisparity * factor;
    }
    if (range.farthest) {
        chosen.lowest = scale->disparityAt(*range.farthest);
    }
    if (range.disparities) {
        chosen.highest = std::floor(chosen.lowest) + std::ceil(*range.disparities * factor) - 1;
    }
    if (range.nearest) {
        chosen.highest = scale->disparityAt(*range.nearest);
    }
    // An end that is found gives way to one that is given.
    if (!range.disparities && !range.nearest) {
        chosen.highest = std::max(chosen.highest, chosen.lowest);
    }
    if (!range.minDisparity && !range.farthest) {
        chosen.lowest = std::min(chosen.lowest, chosen.highest);
    }
    return toSearchRange(chosen, width);
}

} // namespace vision::toolkit
