// SPDX-License-Identifier: Apache-2.0
#include "measures.h"

#include "base/sampling.h"

#include <vision/toolkit/depth/depth_pipeline.h>
#include <vision/toolkit/evaluation/evaluation.h>
#include <vision/toolkit/matching/matcher.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <thread>

namespace accuracy {

namespace {

using namespace vision::toolkit;

cv::Mat matchPlainly(const TestPair& pair, const SearchRange& range, const MatcherSettings& settings)
{
    DepthSettings plain;
    plain.matcher = settings;
    plain.range.minDisparity = range.minDisparity + 1; // the core searches one less
    plain.range.disparities = range.disparities;
    plain.plain = true;
    DepthPipeline pipeline(makeRectifiedRig(pair.images.left.size(), std::nullopt), plain);
    const InputImage left{pair.images.left, pair.images.left};
    const InputImage right{pair.images.right, pair.images.right};
    return pipeline.compute(left.grey, right.grey).disparity;
}

void addCorners(const TestPair& pair, const cv::Mat& disparity, double limit, Score& score)
{
    const cv::Rect image({0, 0}, disparity.size());
    for (const cv::Point3f& corner : pair.corners) {
        const cv::Point pixel(cvRound(corner.x), cvRound(corner.y));
        if (image.contains(pixel) && std::isfinite(disparity.at<float>(pixel))) {
            ++score.corners;
            score.off += std::abs(disparity.at<float>(pixel) - corner.z) > limit ? 1 : 0;
        }
    }
}

double findShare(const cv::Mat& mask)
{
    return static_cast<double>(cv::countNonZero(mask)) / static_cast<double>(mask.total());
}

double findMedian(const cv::Mat& disparity, const cv::Mat& mask)
{
    std::vector<float> values;
    for (int y = 0; y < disparity.rows; ++y) {
        for (int x = 0; x < disparity.cols; ++x) {
            if (mask.at<unsigned char>(y, x) != 0) {
                values.push_back(disparity.at<float>(y, x));
            }
        }
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return double{*middle};
}

} // namespace

std::vector<SearchRange> findRanges(const TestSet& set)
{
    constexpr double atInfinity = 0;
    std::vector<DisparityRange> spans;
    for (const TestPair& pair : set.pairs) {
        spans.push_back(Matcher().findDisparityRange(pair.images, atInfinity).value());
    }
    if (set.isSequence) {
        std::vector<DisparityRange> samples;
        for (const std::size_t i : sampleEvenly(spans.size(), 9)) {
            samples.push_back(spans[i]);
        }
        spans.assign(spans.size(), join(samples).value());
    }
    std::vector<SearchRange> ranges;
    for (std::size_t i = 0; i < spans.size(); ++i) {
        ranges.push_back(toSearchRange(spans[i], set.pairs[i].images.left.cols));
    }
    return ranges;
}

std::vector<cv::Mat> matchAll(const TestSet& set, const std::vector<SearchRange>& ranges,
                              const MatcherSettings& settings, bool isPlain)
{
    std::vector<cv::Mat> disparities;
    for (std::size_t i = 0; i < set.pairs.size(); ++i) {
        disparities.push_back(isPlain ? matchPlainly(set.pairs[i], ranges[i], settings)
                                      : match(set.pairs[i].images, ranges[i], settings).disparity);
    }
    return disparities;
}

Score score(const TestSet& set, const std::vector<cv::Mat>& disparities, int divisor)
{
    const std::size_t limit =
        2 - (divisor > 1 ? 1 : 0) - (divisor > 2 ? 1 : 0); // among badLimits: 2, 1, 0.5 px
    Score result;
    const double weight = 1.0 / static_cast<double>(set.pairs.size());
    for (std::size_t i = 0; i < set.pairs.size(); ++i) {
        result.matched += weight * findShare(disparities[i] < std::numeric_limits<double>::infinity());
        addCorners(set.pairs[i], disparities[i], badLimits[limit], result);
        if (!set.pairs[i].truth.empty()) {
            const Evaluation evaluation = evaluate(disparities[i], set.pairs[i].truth);
            result.density += weight * evaluation.density;
            result.bad += weight * evaluation.ofMatched.bad[limit];
            result.average += weight * evaluation.average;
        }
    }
    return result;
}

SizeEffect compareSizes(const std::vector<cv::Mat>& full, const std::vector<cv::Mat>& smaller)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    SizeEffect largest{0, 0};
    for (std::size_t i = 0; i < full.size(); ++i) {
        cv::Mat reduced;
        cv::resize(full[i], reduced, smaller[i].size(), 0, 0, cv::INTER_NEAREST);
        reduced *= static_cast<double>(smaller[i].cols) / full[i].cols;
        const cv::Mat inFull = reduced < infinity;
        const cv::Mat inSmaller = smaller[i] < infinity;
        const double perPixel = findMedian(smaller[i] / reduced, inFull & inSmaller);
        const double ofAll = findMedian(smaller[i], inSmaller) / findMedian(reduced, inFull);
        largest.perPixel = std::max(largest.perPixel, std::abs(perPixel - 1));
        largest.ofAll = std::max(largest.ofAll, std::abs(ofAll - 1));
    }
    return largest;
}

} // namespace accuracy
