// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/matching/matcher.h>

#include "matching/engine.h"
#include "matching/engines.h"
#include "matching/left_right_check.h"
#include "matching/pyramid.h"
#include "matching/range_checks.h"

#include <vision/toolkit/failure.h>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <limits>

namespace vision::toolkit {

namespace {

void requirePair(const RectifiedPair& pair)
{
    if (pair.left.empty() || pair.left.dims > 2 || pair.left.size != pair.right.size ||
        pair.left.type() != CV_8UC1 || pair.right.type() != CV_8UC1) {
        throw Failure(
            "pair-type", {}, "a pair to be matched must be two grey images (CV_8UC1) of the same size");
    }
    for (const cv::Mat* mask : {&pair.leftValid, &pair.rightValid}) {
        if (!mask->empty() && (mask->size != pair.left.size || mask->type() != CV_8UC1)) {
            throw Failure("mask-type", {}, "the mask of an image must be CV_8UC1 and of its size");
        }
    }
}

cv::Mat findMatched(const cv::Mat& disparity)
{
    return disparity < std::numeric_limits<double>::infinity();
}

semi_global::Settings toSemiGlobal(const SearchRange& range, const MatcherSettings& settings)
{
    semi_global::Settings own;
    own.minDisparity = range.minDisparity;
    own.disparities = range.disparities;
    own.isMatchedTwice = settings.trust == Trust::High;
    own.speckleSize = *settings.speckleWindow;
    return own;
}

} // namespace

void Matcher::Engines::match(const RectifiedPair& pair, const SearchRange& range,
                             const MatcherSettings& settings, std::size_t level, cv::Mat& disparity,
                             cv::Mat& confidence)
{
    if (settings.algorithm != Algorithm::Sgm) {
        disparity = matchBlocks(pair, range, settings);
        confidence.release();
        return;
    }
    constexpr int most = 1024; // disparities, that its sums are laid out for
    if (range.disparities > most) {
        throw Failure("too-many-disparities",
                      {},
                      std::to_string(range.disparities) + " disparities would have to be searched, " +
                          std::to_string(most) + " at most can be: make the images smaller");
    }
    result.disparity = disparity;
    result.confidence = confidence;
    semiGlobal[level].compute({pair.left, pair.right, pair.leftValid, pair.rightValid},
                              toSemiGlobal(range, settings),
                              static_cast<int>(threads),
                              result);
    disparity = result.disparity;
    confidence = result.confidence;
    if (settings.leastConfidence > 0) {
        disparity.setTo(std::numeric_limits<double>::infinity(), confidence < settings.leastConfidence);
    }
}

Matcher::Matcher(unsigned threads) : _engines(std::make_unique<Engines>(std::max(threads, 1U))) {}

Matcher::~Matcher() = default;
Matcher::Matcher(Matcher&&) noexcept = default;
Matcher& Matcher::operator=(Matcher&&) noexcept = default;

namespace {

/// Fills what is not matched yet from smaller and smaller images.
template <typename MatchSmaller>
void fillFromSmaller(const RectifiedPair& pair, const SearchRange& range, Matches& matches,
                     const MatchSmaller& matchSmaller)
{
    matches.levels = findMatched(matches.disparity) / 255;
    int level = 1;
    for (const int factor : {2, 4}) {
        ++level;
        const RectifiedPair smaller = shrink(pair, factor);
        cv::Mat found;
        cv::Mat confidence;
        matchSmaller(smaller, shrink(range, factor), static_cast<std::size_t>(level) - 1, found, confidence);
        cv::Mat disparity = enlarge(found, pair.left.size());
        dropOutside(disparity, pair);
        // A smaller image is searched a little beyond the range, as the number of disparities is rounded up.
        const cv::Mat isInRange = (disparity >= range.minDisparity) & (disparity <= range.maxDisparity());
        const cv::Mat filled = (matches.levels == 0) & isInRange;
        disparity.copyTo(matches.disparity, filled);
        matches.levels.setTo(level, filled);
        if (!confidence.empty()) {
            cv::Mat enlarged;
            cv::resize(confidence, enlarged, pair.left.size(), 0, 0, cv::INTER_NEAREST);
            enlarged.copyTo(matches.confidence, filled);
        }
    }
}

} // namespace

void Matcher::match(const RectifiedPair& pair, const SearchRange& range, const MatcherSettings& settings,
                    Matches& matches)
{
    requirePair(pair);
    requireSearchable(range);
    _engines->match(
        pair, range, withDefaults(settings, pair.left.cols), 0, matches.disparity, matches.confidence);
    if (settings.dense) {
        fillFromSmaller(pair,
                        range,
                        matches,
                        [&](const RectifiedPair& smaller,
                            const SearchRange& smallerRange,
                            std::size_t level,
                            cv::Mat& disparity,
                            cv::Mat& confidence) {
                            _engines->match(smaller,
                                            smallerRange,
                                            withDefaults(settings, smaller.left.cols),
                                            level,
                                            disparity,
                                            confidence);
                        });
    } else {
        matches.levels.release();
    }
    matches.unsearched = findUnsearched(pair.left.size(), range);
    if (!pair.leftValid.empty()) {
        matches.unsearched.setTo(255, pair.leftValid == 0);
    }
    matches.unsearched.setTo(0, findMatched(matches.disparity));
}

Matches match(const RectifiedPair& pair, const SearchRange& range, const MatcherSettings& settings)
{
    Matches matches;
    Matcher().match(pair, range, settings, matches);
    return matches;
}

} // namespace vision::toolkit
