// SPDX-License-Identifier: Apache-2.0
#include "support/matrices.h"
#include "support/scratch_folder.h"

#include <vision/toolkit/evaluation/evaluation.h>
#include <vision/toolkit/failure.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <cmath>
#include <map>

using namespace vision::toolkit;
using testing::HasSubstr;

namespace {

double count(const cv::Mat& mask)
{
    return cv::countNonZero(mask);
}

/// Truth from 10 to 110 px with errors around 2 px, and holes in both and in the mask.
struct Images
{
    Images()
    {
        cv::RNG random(5);
        random.fill(truth, cv::RNG::UNIFORM, 10, 110);
        cv::Mat error(truth.size(), CV_32F);
        random.fill(error, cv::RNG::NORMAL, 0, 2.5);
        disparity = truth + error;
        for (const auto& [image, none, share] :
             {std::tuple(truth, INFINITY, 0.2), std::tuple(disparity, NAN, 0.3)}) {
            cv::Mat dice(truth.size(), CV_32F);
            random.fill(dice, cv::RNG::UNIFORM, 0, 1);
            cv::Mat(image).setTo(none, dice < share);
        }
        random.fill(mask, cv::RNG::UNIFORM, 0, 2);
    }

    cv::Mat truth = cv::Mat(90, 120, CV_32F);
    cv::Mat disparity;
    cv::Mat mask = cv::Mat(90, 120, CV_8U);
};

TEST(Evaluation, AgreesWithMatrixArithmetic)
{
    const Images images;
    for (const cv::Mat& mask : {cv::Mat(), images.mask}) {
        const Evaluation result = evaluate(images.disparity, images.truth, mask);

        const cv::Mat counts = mask.empty() ? cv::Mat(images.truth.size(), CV_8U, cv::Scalar(1)) : mask;
        const cv::Mat hasTruth = (images.truth < 1e9) & (counts != 0);
        const cv::Mat both = hasTruth & (images.disparity < 1e9);
        cv::Mat error;
        cv::absdiff(images.disparity, images.truth, error);
        error.setTo(0, ~both);
        EXPECT_EQ(result.truth, count(hasTruth));
        EXPECT_EQ(result.matched, count(both));
        EXPECT_DOUBLE_EQ(result.density, count(both) / count(hasTruth));
        constexpr double rounding = 1e-6; // absdiff works with floats
        EXPECT_NEAR(result.average, cv::sum(error)[0] / count(both), rounding);
        EXPECT_NEAR(result.rms, cv::norm(error) / std::sqrt(count(both)), rounding);
        const double missing = count(hasTruth) - count(both);
        const auto expectShares = [&](const cv::Mat& wrong, double ofMatched, double ofTruth) {
            EXPECT_DOUBLE_EQ(ofMatched, count(wrong) / count(both));
            EXPECT_DOUBLE_EQ(ofTruth, (count(wrong) + missing) / count(hasTruth));
        };
        for (const auto& [limit, index] :
             {std::pair(0.5, 0), std::pair(1., 1), std::pair(2., 2), std::pair(4., 3)}) {
            const auto i = static_cast<std::size_t>(index);
            expectShares(error > limit, result.ofMatched.bad[i], result.ofTruth.bad[i]);
        }
        expectShares((error > 3) & (error > 0.05 * images.truth), result.ofMatched.d1, result.ofTruth.d1);
    }
}

TEST(Evaluation, PicturesShowTheSharesThatTheFiguresTell)
{
    const Images images;
    const cv::Mat picture = drawError(images.disparity, images.truth)(cv::Rect({0, 0}, images.truth.size()));
    std::map<std::array<int, 3>, double> pixels;
    for (auto pixel = picture.begin<cv::Vec3b>(); pixel != picture.end<cv::Vec3b>(); ++pixel) {
        ++pixels[{(*pixel)[0], (*pixel)[1], (*pixel)[2]}];
    }
    const Evaluation figures = evaluate(images.disparity, images.truth);
    const auto truth = static_cast<double>(figures.truth);
    std::vector<double> expected{truth * (1 - figures.density), static_cast<double>(picture.total()) - truth};
    double before = 1;
    for (const double bad : figures.ofMatched.bad) {
        expected.push_back(static_cast<double>(figures.matched) * (before - bad));
        before = bad;
    }
    expected.push_back(static_cast<double>(figures.matched) * before);
    std::vector<double> found;
    for (const auto& [colour, number] : pixels) {
        found.push_back(number);
    }
    constexpr double rounding = 1e-6;
    EXPECT_THAT(found, testing::UnorderedPointwise(testing::DoubleNear(rounding), expected));
}

TEST(Evaluation, RefusesWhatCannotBeCompared)
{
    const cv::Mat truth(4, 6, CV_32F, cv::Scalar(9));
    const cv::Mat none(4, 6, CV_32F, cv::Scalar(INFINITY));
    const std::tuple<cv::Mat, cv::Mat, cv::Mat, const char*> rows[] = {
        {truth.colRange(0, 3), truth, {}, "3 x 4"},
        {truth, truth, cv::Mat::ones(2, 6, CV_8U), "6 x 2"},
        {truth, none, {}, "no pixel"},
        {truth, truth, cv::Mat::zeros(4, 6, CV_8U), "no pixel"},
    };
    for (const auto& [disparity, wanted, mask, complaint] : rows) {
        EXPECT_THAT(([&, &d = disparity, &t = wanted, &m = mask] { evaluate(d, t, m); }),
                    testing::ThrowsMessage<Failure>(HasSubstr(complaint)));
    }
    const Evaluation empty = evaluate(none, truth);
    EXPECT_EQ(empty.density, 0);
    EXPECT_EQ(empty.ofTruth.d1, 1);
    EXPECT_TRUE(std::isnan(empty.average) && std::isnan(empty.ofMatched.d1));
}

TEST(Evaluation, MasksAreGreyAndLeaveSomething)
{
    const support::ScratchFolder folder;
    const std::string file = folder.path() + "/mask.png";
    cv::imwrite(file, cv::Mat_<unsigned char>({1, 3}, {0, 1, 255}));
    EXPECT_TRUE(support::areBitEqual(readMask(file), cv::Mat_<unsigned char>({1, 3}, {0, 255, 255})));
    for (const int type : {CV_8UC3, CV_8UC1}) {
        cv::imwrite(file, cv::Mat::zeros(2, 2, type));
        EXPECT_THROW(readMask(file), Failure);
    }
}

TEST(Evaluation, NoticesOtherUnits)
{
    const Images images;
    const cv::Mat depth = 300 / images.disparity;
    const std::pair<cv::Mat, const char*> rows[] = {{images.disparity, ""},
                                                    {4 * images.disparity, "units-differ"},
                                                    {depth, "is-depth"},
                                                    {images.truth.t(), ""}};
    for (const auto& [values, code] : rows) {
        const Notes notes = judgeUnits(values.reshape(1, images.truth.rows), images.truth, images.mask);
        EXPECT_EQ(notes.empty() ? "" : notes.front().code, code);
    }
}

} // namespace
