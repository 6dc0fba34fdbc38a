// SPDX-License-Identifier: Apache-2.0
#include "features/photometry.h"
#include "features/row_verdict.h"
#include "support/scene.h"

#include <gtest/gtest.h>

using namespace vision::toolkit;

namespace {

/// Two views of a textured plane with this disparity and row offset, with noise of their own.
std::pair<cv::Mat, cv::Mat> makeViews(const cv::Size& size, const cv::Point2d& shift)
{
    cv::Mat texture;
    cv::resize(support::makeTexture(), texture, {}, 4, 4, cv::INTER_CUBIC);
    const auto view = [&](const cv::Point2d& moved, unsigned seed) {
        cv::Mat image, noise(size, CV_8UC1);
        cv::warpAffine(
            texture, image, cv::Matx23d(1, 0, -1000 + moved.x, 0, 1, -900 + moved.y), size, cv::INTER_CUBIC);
        cv::RNG(seed).fill(noise, cv::RNG::UNIFORM, 0, 8);
        return cv::Mat(image + noise);
    };
    return {view({0, 0}, 1), view({-shift.x, shift.y}, 2)};
}

TEST(RowOffsets, AreMeasuredWhateverSizeAndDisparity)
{
    constexpr double accuracy = 0.15; // px
    for (const cv::Size size : {cv::Size(200, 150), cv::Size(640, 480), cv::Size(1501, 1001)}) {
        for (const cv::Point2d shift : {cv::Point2d(0.2, 0), {0.1, 0.015}, {-0.3, -0.01}}) { // of the width
            const cv::Point2d px(cvRound(shift.x * size.width), shift.y * size.width);
            const auto [left, right] = makeViews(size, px);
            const RowOffsets rows = summariseRows(matchFeatures(left, right), 0);
            SCOPED_TRACE(testing::Message() << size << px);
            EXPECT_GT(rows.matched, 25U);
            EXPECT_NEAR(rows.median, px.y, accuracy);
            EXPECT_LT(rows.spread, 2 * accuracy);
            EXPECT_EQ(rows.behind > 0.5, px.x < 0);
            EXPECT_GT(summariseRows(matchFeatures(left, right), px.x + 3).behind, 0.9);
        }
    }
}

TEST(RowOffsets, AreUnknownWhereImagesShareNothing)
{
    const auto [left, right] = makeViews({640, 480}, {50, 0});
    cv::Mat foreign;
    cv::flip(right, foreign, -1);
    const RowOffsets rows = summariseRows(matchFeatures(left, foreign), 0);
    EXPECT_LT(rows.matched, rows.features / 20);
    for (const cv::Mat& empty :
         {cv::Mat(480, 640, CV_8UC1, cv::Scalar(7)), cv::Mat(3, 5, CV_8UC1, cv::Scalar(7))}) {
        const RowOffsets none = summariseRows(matchFeatures(empty, empty), 0);
        EXPECT_EQ(none.matched, 0U);
        EXPECT_TRUE(std::isnan(none.median) && std::isnan(none.spread));
    }
}

TEST(Verdicts, NameRepeatedPatternsAndFineDots)
{
    cv::Mat stripes(480, 640, CV_8UC1);
    for (int i = 0; i < stripes.rows; ++i) {
        for (int j = 0; j < stripes.cols; ++j) {
            stripes.at<unsigned char>(i, j) = (i / 24 + j / 24) % 2 == 0 ? 40 : 210;
        }
    }
    const Notes notes = judgeRows(summariseRows(matchFeatures(stripes, stripes), 0), {});
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_EQ(notes.front().code, "several-disparities-fit");
    cv::Mat dots(480, 670, CV_8UC1);
    cv::RNG(3).fill(dots, cv::RNG::UNIFORM, 0, 256);
    const RowOffsets rows = summariseRows(matchFeatures(dots.colRange(0, 640), dots.colRange(21, 661)), 0);
    EXPECT_TRUE(judgeRows(rows, {}).empty());
    EXPECT_NEAR(rows.median, 0, 0.1);
}

TEST(Verdicts, NameTheImageThatIsBrighterOrBlurredAndCopies)
{
    const auto [left, right] = makeViews({640, 480}, {50, 0});
    const auto judgeAgainst = [&left = left](const cv::Mat& other) {
        return judgePhotometry(comparePhotometry(left, other, matchFeatures(left, other)));
    };
    EXPECT_TRUE(judgeAgainst(right).empty());
    cv::Mat changed;
    right.convertTo(changed, -1, 0.6, 5);
    Notes notes = judgeAgainst(changed);
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_EQ(notes.front().code, "exposure-differs");
    EXPECT_NE(notes.front().text.find("left image is brighter"), std::string::npos);
    EXPECT_NE(notes.front().text.find("gain 0.6"), std::string::npos);
    cv::GaussianBlur(right, changed, {}, 2);
    notes = judgeAgainst(changed);
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_EQ(notes.front().code, "image-blurred");
    EXPECT_NE(notes.front().text.find("the right image"), std::string::npos);
    EXPECT_TRUE(judgeIdentity(left, right).empty());
    EXPECT_EQ(judgeIdentity(left, left + 1).size(), 1U);
}

} // namespace
