// SPDX-License-Identifier: Apache-2.0
#include "matching/semi_global/implementation.h"
#include "matching/semi_global/matcher.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <limits>
#include <ostream>
#include <string>
#include <vector>

namespace {

using namespace vision::toolkit::semi_global;

/// Blobs of random brightness, which match somewhere, with noise, which does not.
cv::Mat makeImage(const cv::Size& size, cv::RNG& random)
{
    cv::Mat image(size, CV_8UC1);
    random.fill(image, cv::RNG::UNIFORM, 0, 256);
    cv::GaussianBlur(image, image, {}, 1.5);
    cv::Mat noise(size, CV_8UC1);
    random.fill(noise, cv::RNG::UNIFORM, 0, 6);
    image = (image - 110) * 8 + noise;
    image(cv::Rect(0, 0, (size.width + 1) / 2, (size.height + 1) / 2)).setTo(9); // nothing can be told there
    return image;
}

cv::Mat makeMask(const cv::Size& size, cv::RNG& random)
{
    cv::Mat mask(size, CV_8UC1, cv::Scalar(1));
    for (int i = 0; i < 3; ++i) {
        const cv::Point centre(random.uniform(0, size.width), random.uniform(0, size.height));
        cv::circle(mask, centre, random.uniform(1, 12), 0, cv::FILLED);
    }
    return mask;
}

struct Case
{
    const char* name;
    cv::Size size;
    int minDisparity;
    int disparities;
    bool isMasked = false;
    bool isMatchedTwice = false;
};

constexpr int trueDisparity = 5; // px

std::ostream& operator<<(std::ostream& out, const Case& c)
{
    return out << c.name;
}

Images makeImages(const Case& c)
{
    cv::RNG random(7);
    const cv::Mat scene = makeImage({c.size.width + trueDisparity, c.size.height}, random);
    Images images;
    images.left = scene.colRange(0, c.size.width); // rows lie apart in memory
    images.right = scene.colRange(trueDisparity, scene.cols) * 0.9;
    if (c.isMasked) {
        images.leftValid = makeMask(c.size, random);
        images.rightValid = makeMask(c.size, random);
    }
    return images;
}

Result matchWith(const Implementation& implementation, const Case& c, int threads)
{
    Settings settings;
    settings.minDisparity = c.minDisparity;
    settings.disparities = c.disparities;
    settings.isMatchedTwice = c.isMatchedTwice;
    Matcher matcher(implementation);
    Result result;
    matcher.compute(makeImages(c), settings, threads, result);
    return result;
}

bool areEqual(const cv::Mat& a, const cv::Mat& b)
{
    return a.size() == b.size() && a.type() == b.type() && cv::countNonZero(a != b) == 0;
}

int countMatched(const cv::Mat& disparity)
{
    return cv::countNonZero(disparity < std::numeric_limits<double>::infinity());
}

class SemiGlobal : public testing::TestWithParam<Case>
{
};

TEST_P(SemiGlobal, GivesTheSameBitsOnEveryProcessorAndAnyNumberOfThreads)
{
    const std::vector<const Implementation*>& implementations = findImplementations();
    const Result defined = matchWith(*implementations.back(), GetParam(), 1);
    for (const Implementation* implementation : implementations) {
        for (const int threads : {1, 3}) {
            const Result result = matchWith(*implementation, GetParam(), threads);
            EXPECT_TRUE(areEqual(result.disparity, defined.disparity)) << implementation->name << threads;
            EXPECT_TRUE(areEqual(result.confidence, defined.confidence)) << implementation->name << threads;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, SemiGlobal,
    testing::Values(Case{"usual", {97, 61}, 0, 32}, Case{"negative", {64, 40}, -20, 48},
                    Case{"oddRange", {131, 33}, -9, 33}, Case{"masked", {131, 67}, 0, 16, true},
                    Case{"twice", {90, 50}, 0, 48, true, true},
                    Case{"severalStripes", {61, 300}, -31, 62, true}, Case{"sixteenRows", {300, 16}, 0, 1024},
                    Case{"widerThanImage", {37, 20}, 3, 64}, Case{"besideTheImage", {33, 17}, 700, 32},
                    Case{"farBesideTheImage", {40, 21}, -2000, 1024}, Case{"onePixel", {1, 1}, 0, 16},
                    Case{"oneRow", {50, 1}, 0, 16}, Case{"oneColumn", {1, 50}, -8, 16}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(SemiGlobalMatcher, FindsTheDisparity)
{
    const Case c{"", {160, 100}, -16, 48};
    const Result result = matchWith(*findImplementations().front(), c, 1);
    EXPECT_GT(countMatched(result.disparity), 0.7 * c.size.area());
    const cv::Mat isRight = cv::abs(result.disparity - trueDisparity) < 0.25;
    EXPECT_GT(cv::countNonZero(isRight), 0.98 * countMatched(result.disparity));
}

TEST(SemiGlobalMatcher, LeavesOutWhereTheImageIsFlat)
{
    const Case c{"", {160, 100}, 0, 32};
    const Result result = matchWith(*findImplementations().front(), c, 1);
    const int edge = 10; // the window and what smoothing takes
    const cv::Rect flat(0, 0, (c.size.width + trueDisparity) / 2 - edge, c.size.height / 2 - edge);
    EXPECT_EQ(countMatched(result.disparity(flat)), 0);
}

TEST(SemiGlobalMatcher, LeavesOutWhatShowsNothing)
{
    const Case c{"", {160, 100}, 0, 32, true};
    const Images images = makeImages(c);
    const Result result = matchWith(*findImplementations().front(), c, 1);
    const cv::Mat isMatched = result.disparity < std::numeric_limits<double>::infinity();
    EXPECT_EQ(cv::countNonZero(isMatched & (images.leftValid == 0)), 0);
    // Partners of the true disparity, with those of the disparities beside it.
    cv::Mat validPartner(c.size, CV_8UC1, cv::Scalar(0));
    images.rightValid.colRange(0, c.size.width - trueDisparity)
        .copyTo(validPartner.colRange(trueDisparity, c.size.width));
    cv::dilate(validPartner, validPartner, cv::getStructuringElement(cv::MORPH_RECT, {5, 1}));
    const cv::Mat isTrue = cv::abs(result.disparity - trueDisparity) < 0.5;
    EXPECT_GT(cv::countNonZero(validPartner == 0), 0);
    EXPECT_EQ(cv::countNonZero(isTrue & (validPartner == 0)), 0);
}

TEST(SemiGlobalMatcher, KeepsNothingFromThePairBefore)
{
    const Case large{"", {131, 67}, -20, 80, true, true};
    const Case small{"", {64, 40}, 0, 32};
    Matcher matcher;
    for (const Case& c : {large, small, large}) {
        Settings settings;
        settings.minDisparity = c.minDisparity;
        settings.disparities = c.disparities;
        settings.isMatchedTwice = c.isMatchedTwice;
        Result result;
        matcher.compute(makeImages(c), settings, 1, result);
        EXPECT_TRUE(areEqual(result.disparity, matchWith(*findImplementations().front(), c, 1).disparity));
    }
}

} // namespace
