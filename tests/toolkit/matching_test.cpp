// SPDX-License-Identifier: Apache-2.0
#include "support/matrices.h"
#include "support/scene.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/matching/matcher.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

using namespace vision::toolkit;
using support::areBitEqual;

namespace {

constexpr Algorithm algorithms[] = {Algorithm::Bm, Algorithm::Sgbm, Algorithm::Sgm};

/// What a camera sees of a textured plane that is moved to the left by that disparity.
cv::Mat view(const cv::Size& size, double disparity)
{
    static const cv::Mat texture = support::makeTexture();
    const cv::Matx23d move(1, 0, -300 - disparity, 0, 1, -200);
    cv::Mat image;
    cv::warpAffine(texture, image, move, size, cv::INTER_CUBIC, cv::BORDER_WRAP);
    return image;
}

RectifiedPair plane(const cv::Size& size, double disparity)
{
    return {view(size, 0), view(size, disparity), {}, {}};
}

MatcherSettings settingsFor(Algorithm algorithm)
{
    MatcherSettings settings;
    settings.algorithm = algorithm;
    return settings;
}

cv::Mat findMatched(const Matches& matches)
{
    return matches.disparity < INFINITY;
}

double shareOf(const cv::Mat& mask)
{
    return cv::countNonZero(mask) / static_cast<double>(mask.total());
}

TEST(Matcher, FindsEveryPixelThatTheOtherImageShows)
{
    const cv::Size size(320, 120);
    for (const Algorithm algorithm : algorithms) {
        for (const auto& [disparity, from] :
             {std::pair(20.0, 8), {47.5, 35}, {-13.25, -25}, {0.0, -31}, {40.0, 9}, {40.0, 40}}) {
            const SearchRange range{from, 32};
            const Matches matches = match(plane(size, disparity), range, settingsFor(algorithm));
            SCOPED_TRACE(testing::Message()
                         << static_cast<int>(algorithm) << ", " << disparity << ", " << from);
            const int first = static_cast<int>(std::floor(std::max(disparity, 0.0)));
            const int last = size.width + static_cast<int>(std::ceil(std::min(disparity, 0.0)));
            const cv::Mat shown = matches.disparity.colRange(first, last);
            EXPECT_GT(shareOf(cv::abs(shown - disparity) < 0.5), 0.97);
            EXPECT_LT(shareOf(cv::abs(shown - disparity) > 1) - shareOf(shown == INFINITY), 0.005);
            const cv::Mat matched = findMatched(matches);
            EXPECT_EQ(cv::countNonZero(matched.colRange(first, last)), cv::countNonZero(matched));
            EXPECT_EQ(cv::countNonZero(matches.unsearched),
                      std::max(range.minDisparity, 0) * size.height +
                          std::max(-range.maxDisparity(), 0) * size.height);
        }
    }
}

TEST(Matcher, BelievesOnlyWhatBothDirectionsSay)
{
    // Beside the near square lies background that only the left image shows.
    const cv::Size size(320, 200);
    const cv::Rect square(160, 50, 80, 100);
    RectifiedPair pair = plane(size, 10);
    cv::Mat front;
    cv::flip(view(size, 0), front, -1);
    front(square).copyTo(pair.left(square));
    front(square).copyTo(pair.right(square - cv::Point(40, 0)));
    const cv::Mat hidden(size, CV_8UC1, cv::Scalar(0));
    hidden(cv::Rect(square.x - 30, square.y, 30, square.height)).setTo(255);
    for (const Algorithm algorithm : algorithms) {
        MatcherSettings settings = settingsFor(algorithm);
        settings.speckleWindow = 0;
        const Matches both = match(pair, {0, 64}, settings);
        EXPECT_LT(cv::countNonZero(findMatched(both) & hidden), 0.2 * cv::countNonZero(hidden));
        EXPECT_NEAR(both.disparity.at<float>(100, 200), 40, 0.5);
        EXPECT_NEAR(both.disparity.at<float>(100, 300), 10, 0.5);
    }
}

TEST(Matcher, GivesTheSameOfWhateverSurroundsTheImages)
{
    const RectifiedPair pair = plane({200, 90}, 17.5);
    const cv::Rect inside(90, 40, 200, 90);
    RectifiedPair surrounded;
    cv::copyMakeBorder(pair.left, surrounded.left, 40, 40, 90, 90, cv::BORDER_REFLECT);
    cv::copyMakeBorder(pair.right, surrounded.right, 40, 40, 90, 90, cv::BORDER_REFLECT);
    surrounded.left = surrounded.left(inside);
    surrounded.right = surrounded.right(inside);
    for (const Algorithm algorithm : algorithms) {
        const cv::Mat disparity = match(surrounded, {0, 48}, settingsFor(algorithm)).disparity;
        EXPECT_TRUE(areBitEqual(disparity, match(pair, {0, 48}, settingsFor(algorithm)).disparity));
    }
}

TEST(Matcher, LeavesOutWhatIsLessCertain)
{
    RectifiedPair pair = plane({320, 200}, 20);
    cv::RNG random(3);
    cv::Mat noise(pair.right.size(), CV_8UC1);
    random.fill(noise, cv::RNG::UNIFORM, 0, 90);
    pair.right += noise;
    const Matches all = match(pair, {0, 64}, {});
    MatcherSettings settings;
    settings.leastConfidence = 0.97;
    const Matches certain = match(pair, {0, 64}, settings);
    EXPECT_EQ(cv::countNonZero(findMatched(certain) != (findMatched(all) & (all.confidence >= 0.97))), 0);
    EXPECT_LT(shareOf(findMatched(certain)), shareOf(findMatched(all)));
    EXPECT_EQ(cv::countNonZero((all.confidence > 0) & ~findMatched(all)), 0);
}

TEST(Matcher, FillsFromSmallerSizesOnDemand)
{
    // Noise of each camera hides all but the coarse structures.
    RectifiedPair pair = plane({400, 240}, 30);
    cv::RNG random(3);
    for (cv::Mat* const image : {&pair.left, &pair.right}) {
        cv::Mat noise(image->size(), CV_8UC1);
        random.fill(noise, cv::RNG::UNIFORM, 0, 140);
        cv::addWeighted(*image, 0.5, noise, 0.9, 0, *image);
    }
    for (const Algorithm algorithm : algorithms) {
        MatcherSettings settings = settingsFor(algorithm);
        const Matches sparse = match(pair, {0, 64}, settings);
        settings.dense = true;
        const Matches dense = match(pair, {0, 64}, settings);
        EXPECT_TRUE(sparse.levels.empty());
        EXPECT_GT(shareOf(findMatched(dense)), shareOf(findMatched(sparse)) + 0.1);
        EXPECT_EQ(cv::countNonZero((dense.levels == 1) != findMatched(sparse)), 0);
        EXPECT_EQ(cv::countNonZero((dense.levels == 0) == findMatched(dense)), 0);
        EXPECT_GT(cv::countNonZero(dense.levels > 1), 0);
        EXPECT_EQ(cv::countNonZero(dense.levels > 3), 0);
        cv::Mat filled;
        dense.disparity.copyTo(filled, dense.levels > 1);
        EXPECT_GT(cv::countNonZero(cv::abs(filled - 30) < 1.5), 0.8 * cv::countNonZero(dense.levels > 1));
    }
}

TEST(Matcher, MatchesNothingWhereNothingIsShown)
{
    RectifiedPair pair = plane({320, 120}, 20);
    pair.leftValid = cv::Mat(pair.left.size(), CV_8UC1, cv::Scalar(255));
    pair.rightValid = pair.leftValid.clone();
    pair.leftValid.rowRange(0, 30).setTo(0);
    pair.rightValid.colRange(100, 200).setTo(0); // which the left image shows at 120 to 220
    const Matches matches = match(pair, {0, 48}, {});
    EXPECT_EQ(cv::countNonZero(findMatched(matches).rowRange(0, 30)), 0);
    EXPECT_EQ(cv::countNonZero(matches.unsearched.rowRange(0, 30) == 0), 0);
    EXPECT_EQ(cv::countNonZero(findMatched(matches).colRange(122, 218)), 0);
    EXPECT_GT(shareOf(findMatched(matches)(cv::Rect(222, 30, 98, 90))), 0.97);

    const cv::Mat black = cv::Mat::zeros(pair.left.size(), CV_8UC1);
    for (const Algorithm algorithm : algorithms) {
        const Matches none = match({black, black, {}, {}}, {0, 32}, settingsFor(algorithm));
        EXPECT_EQ(cv::countNonZero(findMatched(none)), 0);
    }
}

TEST(Matcher, TakesImagesOfAnySize)
{
    for (const cv::Size size : {cv::Size(1, 1), {1, 40}, {17, 3}, {34, 27}, {90, 12}}) {
        for (const SearchRange range : {SearchRange{0, 16}, {-20, 32}, {5, 80}, {200, 16}}) {
            for (const Algorithm algorithm : algorithms) {
                for (const bool isDense : {true, false}) {
                    MatcherSettings settings = settingsFor(algorithm);
                    if (algorithm != Algorithm::Sgm) {
                        settings.window = 21;
                    }
                    settings.speckleWindow = 0;
                    settings.dense = isDense;
                    const RectifiedPair pair = plane(size, 6);
                    const Matches matches = match(pair, range, settings);
                    SCOPED_TRACE(testing::Message()
                                 << size << static_cast<int>(algorithm) << ", from " << range.minDisparity);
                    EXPECT_TRUE(areBitEqual(match(pair, range, settings).disparity, matches.disparity));
                    matches.disparity.forEach<float>([&](const float& disparity, const int* at) {
                        if (disparity < INFINITY) {
                            EXPECT_GE(disparity, range.minDisparity);
                            EXPECT_LE(disparity, range.maxDisparity());
                            EXPECT_GE(at[1] - double{disparity}, -0.5);
                            EXPECT_LE(at[1] - double{disparity}, size.width - 0.5);
                        }
                    });
                }
            }
        }
    }
}

TEST(Matcher, NamesWhatItCannotUse)
{
    const RectifiedPair pair = plane({64, 48}, 5);
    const auto expectRefusal = [](const RectifiedPair& images,
                                  const SearchRange& range,
                                  const MatcherSettings& settings,
                                  const char* part) {
        EXPECT_THAT([&] { (void)match(images, range, settings); },
                    testing::ThrowsMessage<Failure>(testing::HasSubstr(part)));
    };
    const std::pair<const char*, void (*)(MatcherSettings&)> rows[] = {
        {"window: does nothing", [](auto& s) { s.window = 5; }},
        {"window: 3", [](auto& s) { s.algorithm = Algorithm::Bm, s.window = 3; }},
        {"trust or confidence", [](auto& s) { s.algorithm = Algorithm::Sgbm, s.trust = Trust::High; }},
        {"confidence: nan", [](auto& s) { s.leastConfidence = NAN; }},
        {"texture threshold: does nothing", [](auto& s) { s.textureThreshold = 9; }},
        {"prefilter size: 6", [](auto& s) { s.algorithm = Algorithm::Bm, s.preFilterSize = 6; }},
    };
    for (const auto& [part, change] : rows) {
        MatcherSettings settings;
        change(settings);
        expectRefusal(pair, {0, 16}, settings, part);
    }
    for (const SearchRange range : {SearchRange{0, 0}, {0, 20}, {2040, 16}, {-2050, 16}, {2147483647, 16}}) {
        expectRefusal(pair, range, {}, "disparities");
    }
    const cv::Mat small = pair.left.colRange(0, 20);
    expectRefusal({pair.left, small, {}, {}}, {0, 16}, {}, "same size");
    expectRefusal({pair.left, pair.right, small, {}}, {0, 16}, {}, "mask");
}

TEST(DisparityRange, HoldsWhatOccurs)
{
    for (const cv::Size size : {cv::Size(160, 120), {640, 200}, {1200, 300}}) {
        for (const double share : {-0.08, 0.0, 0.05, 0.3, 0.5}) { // of the width
            const double disparity = share * size.width;
            const auto span = Matcher().findDisparityRange(plane(size, disparity), -0.1 * size.width);
            ASSERT_TRUE(span) << size << share;
            EXPECT_LT(span->lowest, disparity - 1);
            EXPECT_GT(span->highest, disparity + 1);
            EXPECT_LT(span->highest - span->lowest, 0.16 * size.width + 20);
            EXPECT_EQ(span->width, size.width);
            EXPECT_GE(Matcher().findDisparityRange(plane(size, 0.05 * size.width), 0)->lowest, 0);
        }
    }
    EXPECT_TRUE(Matcher().findDisparityRange(plane({3, 2}, 0), 0).value_or(DisparityRange{0, 0, 3}).width ==
                3);
}

TEST(DisparityRange, GivesTheRangeAtAnyWidth)
{
    const struct
    {
        DisparityRange span;
        int width;
        SearchRange range;
    } rows[] = {
        {{10.5, 40, 640}, 640, {10, 32}},
        {{10.5, 42, 640}, 640, {10, 48}},
        {{10.5, 42, 640}, 320, {5, 32}},
        {{-10.5, -3, 320}, 640, {-21, 16}},
        {{0, 5000, 640}, 640, {0, 640}},
        {{-5000, 0, 640}, 640, {-639, 640}},
        {{0, 5000, 8000}, 8000, {0, 2032}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(toSearchRange(row.span, row.width), row.range) << row.span.lowest << ", " << row.width;
    }
    EXPECT_THROW((void)toSearchRange({700, 800, 640}, 640), Failure);
    EXPECT_THROW((void)toSearchRange({NAN, NAN, 640}, 640), Failure);

    const auto joined = join({{10, 20, 100}, {50, 60, 200}, {10, 50, 400}});
    EXPECT_EQ(joined->lowest, 2.5);
    EXPECT_EQ(joined->highest, 30);
    EXPECT_EQ(joined->width, 100);
    EXPECT_FALSE(join({}));
}

} // namespace
