// SPDX-License-Identifier: Apache-2.0
#include "support/scene.h"

#include <vision/toolkit/check/calibration_check.h>
#include <vision/toolkit/failure.h>

#include <gtest/gtest.h>

using namespace vision::toolkit;

namespace {

constexpr double degree = CV_PI / 180;

/// A rig with one focal length, as calibrating gives it.
CalibrationPair makeRigCalibrations()
{
    auto [left, right] = support::makeCalibrations();
    left.projectionMatrix.at<float>(1, 1) = right.projectionMatrix.at<float>(1, 1) = 500;
    return {left, right};
}

/// Pairs taken of planes after the right camera has turned since the calibration.
std::vector<PairCheck> takePairs(const CalibrationPair& calibrations, const cv::Vec3d& angles)
{
    // The corrected calibration is that of the turned camera.
    const vision::Calibration turned = correctRotation(calibrations.right, angles);
    std::vector<PairCheck> pairs;
    for (const support::Plane& plane : {support::Plane{2.5, 0.1}, {1.5, -0.3}, {4, 0.2}, {2, 0.4}}) {
        const cv::Mat left = support::photograph(plane, calibrations.left);
        const cv::Mat right = support::photograph(plane, turned);
        pairs.push_back(checkPair("pair", {{left, left}, {right, right}, {}}, calibrations));
    }
    return pairs;
}

TEST(CalibrationCheck, FindsARotationAndItsUncertainty)
{
    const CalibrationPair calibrations = makeRigCalibrations();
    const std::pair<cv::Vec3d, CheckVerdict> rows[] = {
        {{0, 0, 0}, CheckVerdict::Holds},
        {{-0.12 * degree, 0, 0}, CheckVerdict::Drifted},
        {{0, 0, 0.3 * degree}, CheckVerdict::Drifted},
        {{0.1 * degree, 0, -0.2 * degree}, CheckVerdict::Drifted},
    };
    for (const auto& [angles, verdict] : rows) {
        SCOPED_TRACE(testing::Message() << angles);
        const auto pairs = takePairs(calibrations, angles);
        const CalibrationCheck check = judgeCalibration(pairs, calibrations);
        EXPECT_EQ(check.verdict, verdict);
        EXPECT_EQ(check.reasons.empty(), verdict == CheckVerdict::Holds);
        ASSERT_TRUE(check.rotation);
        for (const int axis : {0, 2}) { // yaw is poorly seen
            const double error = std::abs(check.rotation->angles[axis] - angles[axis]);
            EXPECT_LT(error, 0.02 * degree);
            EXPECT_LT(error, 5 * check.rotation->uncertainty[axis]);
            EXPECT_LT(check.rotation->uncertainty[axis], check.rotation->uncertainty[1]);
        }
        const Correction correction = makeCorrection(pairs, calibrations);
        EXPECT_LT(correction.after, 0.2);
        EXPECT_EQ(correction.improves(), correction.before > correction.after);
        const auto corrected = takePairs({calibrations.left, correction.right}, {0, 0, 0});
        EXPECT_EQ(judgeCalibration(corrected, {calibrations.left, correction.right}).verdict,
                  CheckVerdict::Holds);
    }
}

TEST(CalibrationCheck, SaysWhenACalibrationIsForeignOrNothingCanBeTold)
{
    const CalibrationPair calibrations = makeRigCalibrations();
    const auto pairs = takePairs(calibrations, {0, 0, 0});
    const auto expectForeign =
        [](const std::vector<PairCheck>& checked, const CalibrationPair& with, const char* code) {
            const CalibrationCheck check = judgeCalibration(checked, with);
            EXPECT_EQ(check.verdict, CheckVerdict::Foreign);
            ASSERT_FALSE(check.reasons.empty());
            EXPECT_EQ(check.reasons.front().code, code);
        };
    CalibrationPair mixed = calibrations;
    mixed.right.projectionMatrix.at<float>(0, 0) *= 1.1f;
    expectForeign(pairs, mixed, "focal-lengths-differ");
    CalibrationPair otherLens = calibrations;
    otherLens.right.distortion *= -8;
    otherLens.right.cameraMatrix.at<float>(1, 1) *= 1.05f;
    std::vector<PairCheck> seenThroughOther;
    for (const support::Plane& plane : {support::Plane{2.5, 0.1}, {1.5, -0.3}, {2, 0.4}}) {
        const cv::Mat left = support::photograph(plane, calibrations.left);
        const cv::Mat right = support::photograph(plane, calibrations.right);
        seenThroughOther.push_back(checkPair("pair", {{left, left}, {right, right}, {}}, otherLens));
    }
    expectForeign(seenThroughOther, otherLens, "rows-differ");
    const cv::Mat blank(480, 640, CV_8UC1, cv::Scalar(99));
    const std::vector<PairCheck> nothing{
        checkPair("blank", {{blank, blank}, {blank, blank}, {}}, calibrations)};
    expectForeign(nothing, calibrations, "too-few-matches");
    EXPECT_THROW((void)makeCorrection(nothing, calibrations), Failure);
}

} // namespace
