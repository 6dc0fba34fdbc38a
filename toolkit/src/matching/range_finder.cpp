// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/matching/matcher.h>

#include "matching/engines.h"
#include "matching/pyramid.h"
#include "matching/range_checks.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace vision::toolkit {

namespace {

/// How much smaller the images are matched: a quarter of their size, but not smaller than this.
int findFactor(int width)
{
    constexpr int smallestWidth = 160;
    constexpr int usual = 4;
    return std::clamp(width / smallestWidth, 1, usual);
}

std::vector<float> collectMatched(const cv::Mat& disparity)
{
    std::vector<float> matched;
    std::copy_if(disparity.begin<float>(),
                 disparity.end<float>(),
                 std::back_inserter(matched),
                 [](float value) { return std::isfinite(value); });
    return matched;
}

float takeRank(std::vector<float>& values, double share)
{
    const auto at =
        values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

} // namespace

std::optional<DisparityRange> Matcher::findDisparityRange(const RectifiedPair& pair, double lowestPossible)
{
    constexpr double searchedShare = 0.6; // of the width
    constexpr double fewestMatched =
        0.1; // of the pixels: of pairs of foreign images it is less, of others more than half
    constexpr double lowRank = 0.005;
    constexpr double highRank = 0.998;
    constexpr double growth = 1.08;

    const int factor = findFactor(pair.left.cols);
    const double margin = 2.0 * factor; // px
    const RectifiedPair smaller = shrink(pair, factor);
    MatcherSettings settings;
    settings.speckleWindow = 60; // so that a near thing counts if it is about 30 px wide at full size
    const double lowest = std::floor(lowestPossible / factor);
    const SearchRange range = coverDisparities(lowest, std::max(searchedShare * smaller.left.cols, lowest));
    constexpr std::size_t smallest = 2; // of the sizes that are matched
    cv::Mat disparity;
    cv::Mat confidence;
    _engines->match(
        smaller, range, withDefaults(settings, smaller.left.cols), smallest, disparity, confidence);
    std::vector<float> matched = collectMatched(disparity);
    if (static_cast<double>(matched.size()) < fewestMatched * static_cast<double>(smaller.left.total())) {
        return std::nullopt;
    }
    const double low = factor * double{takeRank(matched, lowRank)};
    const double high = factor * double{takeRank(matched, highRank)};
    return DisparityRange{std::max(low - std::abs(low) * (growth - 1) - margin, lowestPossible),
                          high + std::abs(high) * (growth - 1) + margin,
                          pair.left.cols};
}

} // namespace vision::toolkit
