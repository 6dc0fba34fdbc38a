// SPDX-License-Identifier: Apache-2.0
#include "features/range_verdict.h"

#include <fmt/format.h>

#include <algorithm>

namespace vision::toolkit {

namespace {

/// The share of the points whose disparity is such; 0 when they are too few to tell.
template <typename Condition>
double findShare(const FeatureMatches& features, const Condition& holds)
{
    constexpr std::ptrdiff_t fewest = 4;
    const auto& matches = features.matches;
    const auto count = std::count_if(matches.begin(), matches.end(), [&holds](const FeatureMatch& match) {
        return holds(match.left.x - match.right.x);
    });
    return count < fewest ? 0 : static_cast<double>(count) / static_cast<double>(matches.size());
}

} // namespace

Notes judgeRange(const FeatureMatches& features, const SearchRange& range)
{
    constexpr double conspicuous = 0.1; // a few points are always matched wrongly
    constexpr double tolerance = 1;     // px
    const double nearer =
        findShare(features, [&](double disparity) { return disparity > range.maxDisparity() + tolerance; });
    const double farther =
        findShare(features, [&](double disparity) { return disparity < range.minDisparity - tolerance; });
    const auto tell = [](double share, const char* what, int limit) {
        return fmt::format(
            "{:.0f} % of the points found in both images are {} than what is searched (to {} px)",
            100 * share,
            what,
            limit);
    };
    Notes notes;
    if (nearer > conspicuous) {
        notes.push_back({"range-ends-too-early", tell(nearer, "nearer", range.maxDisparity())});
    }
    if (farther > conspicuous) {
        notes.push_back({"range-starts-too-late", tell(farther, "farther", range.minDisparity)});
    }
    return notes;
}

} // namespace vision::toolkit
