// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/output/pictures.h>

#include <vision/toolkit/failure.h>

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace vision::toolkit {

namespace {

/// The finite numbers of an image, of a large one evenly spread ones, and the extremes of all.
struct Sample
{
    std::vector<float> values;
    float least = std::numeric_limits<float>::infinity();
    float largest = -std::numeric_limits<float>::infinity();
};

Sample takeSample(const cv::Mat& image)
{
    constexpr double enough = 250000;
    const int step = std::max(static_cast<int>(std::sqrt(static_cast<double>(image.total()) / enough)), 1);
    Sample sample;
    for (int row = 0; row < image.rows; ++row) {
        const auto* values = image.ptr<float>(row);
        for (int column = 0; column < image.cols; ++column) {
            const float value = values[column];
            if (!std::isfinite(value)) {
                continue;
            }
            sample.least = std::min(sample.least, value);
            sample.largest = std::max(sample.largest, value);
            if (row % step == 0 && column % step == 0) {
                sample.values.push_back(value);
            }
        }
    }
    return sample;
}

double findRank(std::vector<float>& values, std::size_t rank)
{
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(rank), values.end());
    return values[rank];
}

/// Makes a range that is narrow for its values wider, so that rounding cannot make its ends equal.
ColourRange widen(double low, double high)
{
    constexpr double narrowest = 0.01; // of the values; of 1 when they are 0
    const double largest = std::max(std::abs(low), std::abs(high));
    const double missing = narrowest * (largest > 0 ? largest : 1) - (high - low);
    const double half = std::max(missing, 0.0) / 2;
    return {low - half, high + half};
}

} // namespace

void requireUsable(const ColourRange& range)
{
    constexpr double farthestEnd = 1e6; // beyond, no disparity and no depth of a picture lies
    constexpr double narrowest = 1e-3;
    const auto isUsable = [=](double end) { return std::isfinite(end) && std::abs(end) <= farthestEnd; };
    if (!isUsable(range.low) || !isUsable(range.high) || !(range.high - range.low >= narrowest)) {
        throw Failure("colour-range",
                      {},
                      fmt::format("colours from {} to {} cannot be drawn: the ends must lie from -{:.0f} to "
                                  "{:.0f}, the second one at least {} above the first",
                                  range.low,
                                  range.high,
                                  farthestEnd,
                                  farthestEnd,
                                  narrowest));
    }
}

std::optional<ColourRange> findColourRange(const cv::Mat& values)
{
    CV_Assert(values.type() == CV_32FC1);
    constexpr double outermost = 0.005;
    constexpr double margin = 0.1;
    Sample sample = takeSample(values);
    if (sample.least > sample.largest) {
        return std::nullopt;
    }
    if (sample.values.empty()) { // the few that there are lie between the sampled pixels
        sample.values = {sample.least, sample.largest};
    }
    const std::size_t last = sample.values.size() - 1;
    const auto beyond = static_cast<std::size_t>(outermost * static_cast<double>(last));
    const double low = findRank(sample.values, beyond);
    const double high = findRank(sample.values, last - beyond);
    const double more = margin * (high - low);
    return widen(std::max(low - more, double{sample.least}), std::min(high + more, double{sample.largest}));
}

} // namespace vision::toolkit
