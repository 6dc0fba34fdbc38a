#include <vision/toolkit/matching/matcher.h>

#include "matching/both_ways.h"
#include "matching/engine.h"
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

/// Fills what is not matched yet from smaller and smaller images.
void fillFromSmaller(const RectifiedPair& pair, const SearchRange& range, const MatcherSettings& settings,
                     int threads, Matches& matches)
{
    matches.level = (matches.disparity < std::numeric_limits<double>::infinity()) / 255;
    for (const int factor : {2, 4}) {
        if (pair.left.cols < factor || pair.left.rows < factor) {
            return;
        }
        const RectifiedPair smaller = shrink(pair, factor);
        const cv::Mat disparity = matchAtOneSize(smaller, shrink(range, factor), settings, threads);
        cv::Mat larger = enlarge(disparity, pair.left.size());
        dropOutside(larger, pair);
        const cv::Mat filled = (matches.level == 0) & (larger < std::numeric_limits<double>::infinity());
        larger.copyTo(matches.disparity, filled);
        matches.level.setTo(factor, filled);
    }
}

} // namespace

Matches match(const RectifiedPair& pair, const SearchRange& range, const MatcherSettings& settings,
              int threads)
{
    requirePair(pair);
    requireSearchable(range);
    const MatcherSettings complete = withDefaults(settings);
    Matches matches;
    matches.disparity = matchAtOneSize(pair, range, complete, threads);
    matches.searched = findSearched(pair.left.size(), range, complete);
    if (!pair.leftValid.empty()) {
        matches.searched.setTo(0, pair.leftValid == 0);
    }
    if (settings.dense) {
        fillFromSmaller(pair, range, complete, threads, matches);
    }
    return matches;
}

} // namespace vision::toolkit
