// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/failure.h>
#include <vision/toolkit/output/pictures.h>

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <limits>

using namespace vision::toolkit;

namespace {

const cv::Vec3b black(0, 0, 0);

double saturationOf(const cv::Vec3b& colour)
{
    const auto [low, high] = std::minmax({colour[0], colour[1], colour[2]});
    return high - low;
}

cv::Vec3b at(const cv::Mat& picture, int column)
{
    return picture.at<cv::Vec3b>(0, column);
}

TEST(Pictures, OneRangeGivesOneColourForOneValue)
{
    // 20 and 40 are seen in both pictures, among other values.
    const cv::Mat_<float> first({1, 6}, {20, 30, 40, INFINITY, INFINITY, 25});
    const cv::Mat_<float> second({1, 6}, {20, 19, 40, INFINITY, 41, 60});
    const cv::Mat_<unsigned char> mask({1, 6}, {0, 0, 0, 0, 255, 0});
    PictureScale scale;
    scale.disparity = ColourRange{20, 40};
    const cv::Mat a = drawDisparity(first, mask, scale);
    const cv::Mat b = drawDisparity(second, {}, scale);
    EXPECT_EQ(at(a, 0), at(b, 0));
    EXPECT_EQ(at(a, 2), at(b, 2));
    EXPECT_NE(at(a, 0), at(a, 2));
    EXPECT_EQ(at(a, 3), black);
    EXPECT_NE(at(a, 4), black); // cannot be searched
    EXPECT_EQ(saturationOf(at(a, 4)), 0);
    const cv::Vec3b farther = at(b, 1);
    const cv::Vec3b nearer = at(b, 4);
    EXPECT_EQ(nearer, at(b, 5));
    EXPECT_NE(nearer, farther);
    for (const int column : {0, 1, 2, 3, 4, 5}) {
        EXPECT_NE(at(a, column), nearer);
        EXPECT_NE(at(a, column), farther);
    }
    // Each for itself, the same value gets another colour.
    EXPECT_NE(at(drawDisparity(first, {}, {}), 2), at(drawDisparity(second, {}, {}), 2));
}

TEST(Pictures, RefusesRangesThatNoLegendCanShow)
{
    const cv::Mat_<float> disparity({1, 3}, {10, 20, 40});
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const auto& [low, high] : {std::pair(0.0, infinity),
                                    std::pair(-1e308, 1e308),
                                    std::pair(1e17, 1.0000000000000002e17),
                                    std::pair(5.0, 5.0001),
                                    std::pair(std::numeric_limits<double>::quiet_NaN(), 5.0)}) {
        PictureScale scale;
        scale.disparity = ColourRange{low, high};
        EXPECT_THROW(drawDisparity(disparity, {}, scale), vision::toolkit::Failure) << low;
        scale.depth = ColourRange{1e17, 1.0000000000000002e17}; // as a far range gives
        EXPECT_FALSE(drawDepth(disparity, {}, scale).empty());
    }
}

TEST(Pictures, NearIsRedInDisparityAndInDepth)
{
    const cv::Mat_<float> disparity({1, 3}, {10, 20, 40});
    const cv::Mat depth = 1 / disparity;
    for (const cv::Mat& picture : {drawDisparity(disparity, {}, {}), drawDepth(depth, {}, {})}) {
        EXPECT_GT(at(picture, 2)[2], at(picture, 2)[0]);
        EXPECT_GT(at(picture, 0)[0], at(picture, 0)[2]);
    }
}

TEST(Pictures, InventNoScaleWhereNothingMatched)
{
    const cv::Mat nothing(120, 160, CV_32F, cv::Scalar(INFINITY));
    const cv::Mat zeros = cv::Mat::zeros(nothing.size(), CV_32F);
    for (const cv::Mat& picture : {drawDisparity(nothing, {}, {}), drawDepth(zeros, {}, {})}) {
        cv::Mat channels[3];
        cv::split(picture, channels);
        EXPECT_EQ(cv::norm(channels[0], channels[2], cv::NORM_INF), 0); // no colour, so no scale
        EXPECT_GT(cv::countNonZero(channels[0]), 0);                    // but words
    }
}

TEST(Pictures, RangeLeavesOutliersBeyond)
{
    cv::Mat values(200, 300, CV_32F);
    cv::RNG(3).fill(values, cv::RNG::UNIFORM, 50, 60);
    values.row(0).colRange(0, 100).setTo(1000);
    values.row(1).colRange(0, 100).setTo(-INFINITY);
    const auto range = findColourRange(values);
    ASSERT_TRUE(range);
    EXPECT_GE(range->low, 50 - 1e-3); // never beyond what is there
    EXPECT_LT(range->low, 50.2);
    EXPECT_GT(range->high, 60);
    EXPECT_LT(range->high, 62);
    const auto single = findColourRange(cv::Mat(1, 1, CV_32F, cv::Scalar(0)));
    ASSERT_TRUE(single);
    EXPECT_LT(single->low, single->high);
    EXPECT_FALSE(findColourRange(cv::Mat(1, 1, CV_32F, cv::Scalar(NAN))));
}

TEST(Pictures, LegendsGrowWithThePicture)
{
    const auto legendWidth = [](const cv::Size& size) {
        cv::Mat ramp(size, CV_32F);
        cv::RNG(1).fill(ramp, cv::RNG::UNIFORM, 10, 90);
        return drawDisparity(ramp, {}, {}).cols - size.width;
    };
    const int smallest = legendWidth({160, 120});
    EXPECT_GE(smallest, 100); // px, for legible letters
    EXPECT_NEAR(legendWidth({4000, 3000}), smallest * 3000 / 480.0, smallest * 0.1);
}

TEST(Pictures, LinesAlongTheRowsStandOutFromEveryGrey)
{
    for (const int level : {0, 128, 255}) {
        const cv::Mat grey(96, 128, CV_8UC1, cv::Scalar(level));
        const cv::Mat rows = drawRectifiedRows(grey, grey);
        ASSERT_EQ(rows.type(), CV_8UC1);
        EXPECT_EQ(rows.size(), cv::Size(256, 96));
        EXPECT_GE(cv::countNonZero(rows != level), 3 * 256 / 2);
    }
    const cv::Mat colour(96, 128, CV_8UC3, cv::Scalar(9, 9, 9));
    EXPECT_EQ(drawRectifiedRows(cv::Mat(96, 128, CV_8UC1, cv::Scalar(9)), colour).type(), CV_8UC3);
}

TEST(Pictures, LevelsHaveColoursOfTheirOwn)
{
    const cv::Mat_<unsigned char> levels({1, 5}, {0, 1, 2, 3, 0});
    const cv::Mat_<unsigned char> mask({1, 5}, {0, 0, 0, 0, 1});
    const cv::Mat picture = drawLevels(levels, mask);
    for (int a = 0; a < levels.cols; ++a) {
        for (int b = 0; b < a; ++b) {
            EXPECT_NE(at(picture, a), at(picture, b));
        }
    }
    EXPECT_EQ(at(picture, 0), black);
}

} // namespace
