// SPDX-License-Identifier: Apache-2.0
#include "check/drift_fit.h"
#include "support/scene.h"

#include <vision/toolkit/check/check_report.h>
#include <vision/toolkit/check/correction.h>
#include <vision/toolkit/failure.h>

#include <gtest/gtest.h>

using namespace vision::toolkit;

namespace {

/// A rig with one focal length, as calibrating gives it.
CalibrationPair makeRigCalibrations()
{
    auto [left, right] = support::makeCalibrations();
    left.projectionMatrix.at<float>(1, 1) = right.projectionMatrix.at<float>(1, 1) = 500;
    return {left, right};
}

/// Pairs taken of planes after the right camera has changed since the calibration.
std::vector<PairCheck> takePairs(const CalibrationPair& calibrations, const vision::Calibration& changed)
{
    std::vector<PairCheck> pairs;
    for (const support::Plane& plane : {support::Plane{2.5, 0.1}, {1.5, -0.3}, {4, 0.2}, {2, 0.4}}) {
        const cv::Mat left = support::photograph(plane, calibrations.left);
        const cv::Mat right = support::photograph(plane, changed);
        pairs.push_back(checkPair("pair", {{left, left}, {right, right}, {}}, calibrations));
    }
    return pairs;
}

std::string codeOf(const CalibrationCheck& check)
{
    return check.reasons.empty() ? "" : check.reasons.front().code;
}

TEST(CalibrationCheck, FindsAndCorrectsWhatIsSignificant)
{
    const CalibrationPair calibrations = makeRigCalibrations();
    const std::pair<cv::Vec3d, CheckVerdict> rows[] = {
        {{0, 0, 0}, CheckVerdict::Holds},
        {{-0.12, 0, 0}, CheckVerdict::Drifted},
        {{0, 0, 0.3}, CheckVerdict::Drifted},
        {{0.1, 0, -0.2}, CheckVerdict::Drifted},
    };
    for (const auto& [angles, verdict] : rows) {
        SCOPED_TRACE(testing::Message() << angles);
        // The corrected calibration is that of the turned camera.
        const auto pairs = takePairs(calibrations, correctRotation(calibrations.right, angles));
        const CalibrationCheck check = judgeCalibration(pairs, calibrations);
        EXPECT_EQ(check.verdict, verdict);
        EXPECT_EQ(check.reasons.empty(), verdict == CheckVerdict::Holds);
        ASSERT_TRUE(check.drift);
        const std::pair<Estimate, double> seen[] = {{check.drift->pitch, angles[0]},
                                                    {check.drift->roll, angles[2]}};
        for (const auto& [estimate, truth] : seen) {
            EXPECT_LT(std::abs(estimate.value - truth), std::min(0.02, 5 * estimate.uncertainty));
            EXPECT_LT(estimate.uncertainty, check.drift->yaw.uncertainty); // which is poorly seen
        }
        const auto correction = makeCorrection(pairs, check, calibrations);
        ASSERT_EQ(correction.has_value(), verdict == CheckVerdict::Drifted);
        if (correction) {
            EXPECT_LT(correction->after, 0.2);
            EXPECT_GT(correction->before, 2 * correction->after);
            EXPECT_EQ(correction->yaw, 0);
            const CalibrationPair fixed{calibrations.left, correction->right};
            EXPECT_EQ(judgeCalibration(takePairs(fixed, correctRotation(calibrations.right, angles)), fixed)
                          .verdict,
                      CheckVerdict::Holds);
        }
    }
}

TEST(CalibrationCheck, NamesAZoomAndCorrectsYawByADistanceOnly)
{
    const CalibrationPair calibrations = makeRigCalibrations();
    vision::Calibration zoomed(calibrations.right);
    zoomed.cameraMatrix.at<float>(0, 0) *= 1.01f;
    zoomed.cameraMatrix.at<float>(1, 1) *= 1.01f;
    const auto zoomedPairs = takePairs(calibrations, zoomed);
    const CalibrationCheck zoom = judgeCalibration(zoomedPairs, calibrations);
    EXPECT_EQ(zoom.verdict, CheckVerdict::Drifted);
    EXPECT_EQ(codeOf(zoom), "scale-changed");
    EXPECT_NEAR(zoom.drift->zoom.value, 1, 0.1);
    EXPECT_THROW((void)makeCorrection(zoomedPairs, zoom, calibrations), Failure);

    constexpr double yaw = 0.2; // degrees
    const vision::Calibration turned = correctRotation(calibrations.right, {0, yaw, 0});
    const auto pairs = takePairs(calibrations, turned);
    const CalibrationCheck check = judgeCalibration(pairs, calibrations);
    EXPECT_FALSE(makeCorrection(pairs, check, calibrations));
    const support::Plane wall{2, 0};
    const cv::Mat left = support::photograph(wall, calibrations.left);
    const cv::Mat right = support::photograph(wall, turned);
    const ImagePair images{{left, left}, {right, right}, {}};
    const cv::Point2d point(330, 250);
    KnownDistance known = findKnownDistance(images, calibrations, point, 1);
    known.distance = 2 * std::hypot(1, (known.match.left.x - 310) / 500, (known.match.left.y - 240) / 500);
    const auto correction = makeCorrection(pairs, check, calibrations, known);
    ASSERT_TRUE(correction);
    EXPECT_NEAR(correction->yaw, yaw, 0.03);
}

TEST(CalibrationCheck, TellsForeignFromUnsynchronisedAndFromNothing)
{
    const CalibrationPair calibrations = makeRigCalibrations();
    const auto pairs = takePairs(calibrations, calibrations.right);
    const auto expect = [](const std::vector<PairCheck>& checked,
                           const CalibrationPair& with,
                           CheckVerdict verdict,
                           const char* code) {
        const CalibrationCheck check = judgeCalibration(checked, with);
        EXPECT_EQ(nameOf(check.verdict), nameOf(verdict));
        EXPECT_EQ(codeOf(check), code);
    };
    CalibrationPair mixed = calibrations;
    mixed.right.projectionMatrix.at<float>(0, 0) *= 1.1f;
    expect(pairs, mixed, CheckVerdict::Foreign, "focal-lengths-differ");
    CalibrationPair otherLens = calibrations;
    otherLens.right.distortion *= -8;
    otherLens.right.cameraMatrix.at<float>(1, 1) *= 1.05f;
    expect(takePairs(otherLens, calibrations.right), otherLens, CheckVerdict::Foreign, "rows-differ");
    const cv::Mat blank(480, 640, CV_8UC1, cv::Scalar(99));
    const std::vector<PairCheck> nothing{
        checkPair("blank", {{blank, blank}, {blank, blank}, {}}, calibrations)};
    expect(nothing, calibrations, CheckVerdict::CannotTell, "too-few-matches");
    EXPECT_THROW((void)makeCorrection(nothing, judgeCalibration(nothing, calibrations), calibrations),
                 Failure);

    PairCheck few =
        pairs.front(); // too few features for a verdict of the pair, most of them behind the cameras
    few.matches.resize(5);
    few.rows.features = 30;
    few.rows.matched = 5;
    few.rows.behind = 0.6;
    expect({few}, calibrations, CheckVerdict::CannotTell, "too-few-matches");

    std::vector<PairCheck> frozen = pairs;
    frozen[1].rightThumbnail = frozen[0].rightThumbnail;
    expect(frozen, calibrations, CheckVerdict::Unsynchronised, "frozen-camera");
    std::vector<PairCheck> moved(3, pairs[0]);
    moved.insert(moved.end(), 3, pairs[0]);
    for (std::size_t i = 3; i < moved.size(); ++i) {
        for (FeatureMatch& match : moved[i].matches) {
            match.right.y += 1;
        }
    }
    expect(moved, calibrations, CheckVerdict::Drifted, "rows-change");
}

TEST(BoardCheck, LeavesOutWhatIsNotKnown)
{
    BoardCheck unmatched, matched;
    unmatched.squareMean = matched.squareMean = 1.027;
    matched.planeRms = 0.002;
    const BoardSummary summary = summariseBoards({unmatched, matched, unmatched});
    EXPECT_EQ(summary.planeRms, matched.planeRms);
    EXPECT_FALSE(summary.absoluteError);
    const CalibrationPair calibrations = makeRigCalibrations();
    auto pairs = takePairs(calibrations, calibrations.right);
    pairs.front().board = pairs.back().board = unmatched;
    const CalibrationCheck check = judgeCalibration(pairs, calibrations);
    EXPECT_EQ(check.verdict, CheckVerdict::Drifted);
    EXPECT_EQ(codeOf(check), "square-differs");
}

} // namespace
