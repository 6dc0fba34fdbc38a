// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/matching/matcher.h>

#include "matching/engine.h"
#include "matching/left_right_check.h"
#include "matching/pyramid.h"
#include "matching/range_checks.h"

#include <vision/toolkit/failure.h>

#include <opencv2/core.hpp>

#include <limits>

namespace vision::toolkit {

namespace {

void requirePair(const RectifiedPair& pair)
{
    if (pair.left.empty() || pair.left.dims > 2 || pair.left.size != pair.right.size ||
        pair.left.type() != CV_8UC1 || pair.right.type() != CV_8UC1) {
        throw Failure("a pair to be matched must be two grey images (CV_8UC1) of the same size");
    }
    for (const cv::Mat* mask : {&pair.leftValid, &pair.rightValid}) {
        if (!mask->empty() && (mask->size != pair.left.size || mask->type() != CV_8UC1)) {
            throw Failure("the mask of an image must be CV_8UC1 and of its size");
        }
    }
}

cv::Mat findMatched(const cv::Mat& disparity)
{
    return disparity < std::numeric_limits<double>::infinity();
}

/// Fills what is not matched yet from smaller and smaller images.
void fillFromSmaller(const RectifiedPair& pair, const SearchRange& range, const MatcherSettings& settings,
                     Matches& matches)
{
    matches.levels = findMatched(matches.disparity) / 255;
    int level = 1;
    for (const int factor : {2, 4}) {
        ++level;
        const RectifiedPair smaller = shrink(pair, factor);
        const cv::Mat found =
            matchAtOneSize(smaller, shrink(range, factor), withDefaults(settings, smaller.left.cols));
        cv::Mat disparity = enlarge(found, pair.left.size());
        dropOutside(disparity, pair);
        // A smaller image is searched a little beyond the range, as the number of disparities is rounded up.
        const cv::Mat isInRange = (disparity >= range.minDisparity) & (disparity <= range.maxDisparity());
        const cv::Mat filled = (matches.levels == 0) & isInRange;
        disparity.copyTo(matches.disparity, filled);
        matches.levels.setTo(level, filled);
    }
}

} // namespace

Matches match(const RectifiedPair& pair, const SearchRange& range, const MatcherSettings& settings)
{
    requirePair(pair);
    requireSearchable(range);
    Matches matches;
    matches.disparity = matchAtOneSize(pair, range, withDefaults(settings, pair.left.cols));
    if (settings.dense) {
        fillFromSmaller(pair, range, settings, matches);
    }
    matches.unsearched = findUnsearched(pair.left.size(), range, settings.fullWidth);
    if (!pair.leftValid.empty()) {
        matches.unsearched.setTo(255, pair.leftValid == 0);
    }
    matches.unsearched.setTo(0, findMatched(matches.disparity));
    return matches;
}

} // namespace vision::toolkit
