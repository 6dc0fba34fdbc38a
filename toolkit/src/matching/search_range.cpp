// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/matching/search_range.h>

#include "matching/range_checks.h"

#include <vision/toolkit/failure.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vision::toolkit {

namespace {

constexpr int step = 16; ///< the matchers take multiples of it

/// The matchers give sixteenths of a px in 16 bits, and mark what is not matched by one px less than the
/// smallest.
constexpr int largestDisparity = 2047;

} // namespace

DisparityRange rangeBetween(double nearest, double farthest, const DepthScale& scale, int width)
{
    return {scale.disparityAt(farthest), scale.disparityAt(nearest), width};
}

SearchRange coverDisparities(double lowest, double highest)
{
    const int count = static_cast<int>(highest - lowest) + 1;
    return {static_cast<int>(lowest), (count + step - 1) / step * step};
}

void requireSearchable(const SearchRange& range)
{
    if (range.disparities <= 0 || range.disparities % step != 0) {
        throw Failure("disparities",
                      {},
                      "the number of disparities is " + std::to_string(range.disparities) +
                          ": it must be a positive multiple of 16");
    }
    // Sums in 64 bits: a wrong range may not fit an int.
    const std::int64_t highest = std::int64_t{range.minDisparity} + range.disparities;
    if (range.minDisparity < 1 - largestDisparity || highest > largestDisparity) {
        throw Failure("disparities",
                      {},
                      "disparities from " + std::to_string(range.minDisparity) + " to " +
                          std::to_string(highest - 1) + " px cannot be searched: make the images smaller");
    }
}

SearchRange toSearchRange(const DisparityRange& span, int width)
{
    const double factor = static_cast<double>(width) / span.width;
    const double most = std::min(width - 1, largestDisparity - step);
    const double lowest = std::max(std::floor(span.lowest * factor), -most);
    const double highest = std::min(std::ceil(span.highest * factor), most);
    if (!(lowest <= highest)) {
        throw Failure("disparities",
                      {},
                      "disparities from " + fmt::format("{:.0f}", span.lowest * factor) + " to " +
                          fmt::format("{:.0f}", span.highest * factor) + " px cannot be searched in images " +
                          std::to_string(width) +
                          " px wide: check the nearest and the farthest depth or disparity");
    }
    return coverDisparities(lowest, highest);
}

std::optional<DisparityRange> join(const std::vector<DisparityRange>& spans)
{
    if (spans.empty()) {
        return std::nullopt;
    }
    DisparityRange joined = spans.front();
    for (const DisparityRange& span : spans) {
        const double factor = static_cast<double>(joined.width) / span.width;
        joined.lowest = std::min(joined.lowest, span.lowest * factor);
        joined.highest = std::max(joined.highest, span.highest * factor);
    }
    return joined;
}

} // namespace vision::toolkit
