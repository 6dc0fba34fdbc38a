// SPDX-License-Identifier: Apache-2.0
/// How good the matches of test pairs are.
#ifndef ACCURACY_MEASURES_H
#define ACCURACY_MEASURES_H

#include "test_pairs.h"

#include <vision/toolkit/matching/matcher.h>
#include <vision/toolkit/matching/search_range.h>

#include <vector>

namespace accuracy {

/// What a set gives together.
struct Score
{
    double density = 0; ///< share of the pixels with truth that have a value; mean over the pairs
    double bad = 0; ///< share of those that are off by more than 2 px of the full size; mean over the pairs
    double average = 0; ///< their mean error, px; mean over the pairs
    int corners = 0;    ///< single points that have a value
    int off = 0;        ///< those off by more than 2 px of the full size
    double matched = 0; ///< share of all pixels that have a value; mean over the pairs
};

/// The range of each pair, found as the toolkit does.
std::vector<vision::toolkit::SearchRange> findRanges(const TestSet& set);

/// The disparities of all pairs.
/// @param isPlain with the methods of `vision::Stereo` alone
std::vector<cv::Mat> matchAll(const TestSet& set, const std::vector<vision::toolkit::SearchRange>& ranges,
                              const vision::toolkit::MatcherSettings& settings, bool isPlain);

/// @param divisor of the full size, that the pairs have
Score score(const TestSet& set, const std::vector<cv::Mat>& disparities, int divisor);

/// By how much smaller images change the disparity, relatively: the largest change over the pairs.
struct SizeEffect
{
    double perPixel; ///< median over the pixels that are matched at both sizes
    double ofAll;    ///< of the median of all that is matched, which is more in smaller images
};

SizeEffect compareSizes(const std::vector<cv::Mat>& full, const std::vector<cv::Mat>& smaller);

} // namespace accuracy

#endif
