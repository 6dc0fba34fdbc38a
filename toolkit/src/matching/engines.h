// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_MATCHING_ENGINES_H
#define VISION_TOOLKIT_SRC_MATCHING_ENGINES_H

#include "matching/semi_global/matcher.h"

#include <vision/toolkit/matching/matcher.h>

#include <array>

namespace vision::toolkit {

/// What a matcher keeps from pair to pair: a semi-global one for each size at which pairs are matched.
struct Matcher::Engines
{
    explicit Engines(unsigned threadsPerPair) : threads(threadsPerPair) {}

    /// Matches a pair at one size.
    /// @param settings complete
    /// @param level 0 at full size, 1 at half, 2 at a quarter
    void match(const RectifiedPair& pair, const SearchRange& range, const MatcherSettings& settings,
               std::size_t level, cv::Mat& disparity, cv::Mat& confidence);

    unsigned threads;
    std::array<semi_global::Matcher, 3> semiGlobal;
    semi_global::Result result;
};

} // namespace vision::toolkit

#endif
