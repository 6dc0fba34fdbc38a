// SPDX-License-Identifier: Apache-2.0
#include "support/calibrations.h"

#include <vision/toolkit/depth/rig.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/records/inspection.h>

#include <gtest/gtest.h>

#include <functional>

using namespace vision::toolkit;

namespace {

/// A pair as calibrating gives it: one focal length, one principal point row.
support::CalibrationPair makePair()
{
    support::CalibrationPair pair = support::makeCalibrations();
    pair.left.projectionMatrix.at<float>(1, 1) = pair.right.projectionMatrix.at<float>(1, 1) = 500;
    return pair;
}

std::string codesOf(const Notes& notes)
{
    std::string codes;
    for (const Note& note : notes) {
        codes += note.code + ' ';
    }
    return codes;
}

TEST(CalibrationFaults, AreNamedOneByOne)
{
    using Damage = std::function<void(vision::Calibration&)>;
    const std::pair<Damage, const char*> rows[] = {
        {[](auto&) {}, ""},
        {[](auto& c) { c.rectificationMatrix.release(), c.distortion.release(); }, ""},
        {[](auto& c) { c.rectificationMatrix = cv::Mat::eye(3, 3, CV_64F); }, ""},
        {[](auto& c) { c.width = 32767, c.height = 1; }, ""},
        {[](auto& c) { c.width = 0; }, "size "},
        {[](auto& c) { c.height = 32768; }, "size "},
        {[](auto& c) { c.cameraMatrix.release(); }, "camera-matrix "},
        {[](auto& c) { c.cameraMatrix.template at<float>(2, 2) = 2; }, "camera-matrix "},
        {[](auto& c) { c.cameraMatrix.template at<float>(0, 2) = NAN; }, "camera-matrix "},
        {[](auto& c) { c.projectionMatrix = cv::Mat_<double>(c.projectionMatrix); }, "projection-matrix "},
        {[](auto& c) { c.projectionMatrix = cv::Mat::eye(3, 3, CV_32F); }, "projection-matrix "},
        {[](auto& c) { c.projectionMatrix.template at<float>(2, 3) = 1; }, "projection-matrix "},
        {[](auto& c) { c.rectificationMatrix *= 1.01; }, "no-rotation "},
        {[](auto& c) { c.rectificationMatrix *= -1; }, "no-rotation "},
        {[](auto& c) { c.rectificationMatrix = cv::Mat::eye(2, 3, CV_32F); }, "no-rotation "},
        {[](auto& c) { c.rectificationMatrix = cv::Mat::eye(3, 2, CV_32F); }, "no-rotation "},
        {[](auto& c) { c.rectificationMatrix = cv::Mat::eye(3, 3, CV_32S); }, "no-rotation "},
        {[](auto& c) { c.distortion = cv::Mat::zeros(1, 5, CV_32S); }, "distortion "},
        {[](auto& c) { c.distortion = cv::Mat::zeros(1, 5, CV_32FC2); }, "distortion "},
        {[](auto& c) { c.distortion = cv::Mat::zeros(2, 2, CV_32F); }, "distortion "},
        {[](auto& c) { c.distortion.template at<float>(0, 0) = INFINITY; }, "distortion "},
        {[](auto& c) { c.cameraMatrix.template at<float>(0, 0) = 0; }, "focal-length "},
        {[](auto& c) { c.projectionMatrix.template at<float>(1, 1) = -5; }, "focal-length "},
        {[](auto& c) { c = vision::Calibration(); }, "size camera-matrix projection-matrix "},
    };
    for (std::size_t row = 0; row < std::size(rows); ++row) {
        vision::Calibration calibration = makePair().left;
        rows[row].first(calibration);
        EXPECT_EQ(codesOf(findFaults(calibration)), rows[row].second) << "row " << row;
    }
}

TEST(CalibrationFaults, AreLengthsOfDistortionThatOpenCvDoesNotTake)
{
    for (int length = 1; length <= 15; ++length) {
        const bool isTaken = length == 4 || length == 5 || length == 8 || length == 12 || length == 14;
        for (const cv::Mat& distortion : {cv::Mat(length, 1, CV_32F, 0.0), cv::Mat(1, length, CV_64F, 0.0)}) {
            vision::Calibration calibration = makePair().left;
            calibration.distortion = distortion;
            EXPECT_EQ(codesOf(findFaults(calibration)), isTaken ? "" : "distortion ") << length;
        }
    }
}

TEST(CalibrationFaults, OfAPairAreNamed)
{
    using Damage = std::function<void(vision::Calibration&, vision::Calibration&)>;
    const auto entry = [](vision::Calibration& c, int row, int column) -> float& {
        return c.projectionMatrix.at<float>(row, column);
    };
    const std::pair<Damage, const char*> rows[] = {
        {[](auto&, auto&) {}, ""},
        {[](auto& l, auto& r) { std::swap(l, r); }, "swapped "},
        {[](auto& l, auto& r) { r = l; }, "same-camera "},
        {[&](auto&, auto& r) { entry(r, 0, 3) *= -1; }, "same-camera "},
        {[&](auto& l, auto&) { entry(l, 0, 3) = 1; }, "left-translated "},
        {[](auto& l, auto&) { l.width = 320; }, "sizes-differ "},
        {[](auto&, auto& r) { r.height = 320; }, "sizes-differ "},
        {[&](auto&, auto& r) { std::swap(entry(r, 0, 3), entry(r, 1, 3)); }, "vertical "},
        {[&](auto&, auto& r) { entry(r, 0, 0) *= 1.002f; }, "focal-lengths-differ "},
        {[&](auto&, auto& r) { entry(r, 1, 1) *= 0.998f; }, "focal-lengths-differ "},
        {[&](auto&, auto& r) { entry(r, 1, 2) += 0.2f; }, "rows-differ "},
        {[&](auto&, auto& r) { entry(r, 0, 2) -= 640; }, "principal-points-differ "},
        {[&](auto&, auto& r) { entry(r, 1, 2) += 0.05f, entry(r, 0, 0) *= 1.0005f; }, ""},
    };
    for (std::size_t row = 0; row < std::size(rows); ++row) {
        auto [left, right] = makePair();
        rows[row].first(left, right);
        EXPECT_EQ(codesOf(findPairFaults(left, right)), rows[row].second) << "row " << row;
    }
}

TEST(CalibrationDoubts, AreNamedOneByOne)
{
    using Change = std::function<void(vision::Calibration&)>;
    const auto stretch = [](cv::Mat& matrix, double x, double y) {
        matrix.row(0) *= x;
        matrix.row(1) *= y;
    };
    const auto setDistortion = [](std::vector<float> k) {
        return [k](auto& c) { c.distortion = cv::Mat(k, true).reshape(1, 1); };
    };
    const std::pair<Change, const char*> rows[] = {
        {[](auto&) {}, ""},
        {[](auto& c) { c.rectificationMatrix.release(), c.distortion.release(); }, ""},
        {setDistortion({-0.3f, 0.12f, 0, 0, -0.02f}), ""},                  // of a wide lens
        {setDistortion({15.0f, 5.0f, 0, 0, 0.2f, 15.3f, 10.0f, 1.2f}), ""}, // of a rational model
        {setDistortion({-0.6f, 0, 0, 0}), "folded-distortion "},
        {setDistortion({0, 0, 0, 0, 0, 3.0f, 0, 0}), "folded-distortion "},
        {[&](auto& c) { stretch(c.cameraMatrix, 1, 1.1); }, "pixels-not-square "},
        {[](auto& c) { c.cameraMatrix.template at<float>(1, 2) = 340; }, "principal-point "},
        {[](auto& c) { c.width *= 2, c.height *= 2; }, "principal-point "},
        {[](auto& c) {
             c.cameraMatrix.template at<float>(0, 0) = c.cameraMatrix.template at<float>(1, 1) = 4;
         },
         "field-of-view rectified-focal-length "},
        {[&](auto& c) { stretch(c.projectionMatrix, 2, 2); }, "rectified-focal-length "},
        {[](auto& c) { c.rectificationMatrix = cv::Mat(cv::Matx33f(0, 0, 1, 0, 1, 0, -1, 0, 0)).clone(); },
         "hardly-covered "},
    };
    for (std::size_t row = 0; row < std::size(rows); ++row) {
        vision::Calibration calibration = makePair().left;
        rows[row].first(calibration);
        ASSERT_EQ(codesOf(findFaults(calibration)), "") << "row " << row;
        EXPECT_EQ(codesOf(findDoubts(calibration)), rows[row].second) << "row " << row;
    }
    for (const auto& [factor, code] : {std::pair(1, ""), std::pair(1000, "baseline ")}) {
        auto [left, right] = makePair();
        right.projectionMatrix.at<float>(0, 3) *= static_cast<float>(factor);
        EXPECT_EQ(codesOf(findPairDoubts(left, right)), code);
    }
}

TEST(Rig, IsValidFromItsMaking)
{
    const auto [left, right] = makePair();
    EXPECT_EQ(makeRig({left, right}).size, cv::Size(640, 480));
    EXPECT_THROW((void)makeRig({}), Failure);
    EXPECT_THROW((void)makeRig({right, left}), Failure);
    const RectifiedGeometry sensible{300, 0.1, 639, {}};
    EXPECT_NEAR(findDepthScale(makeRectifiedRig({640, 480}, sensible), 320)->atInfinity, -319.5, 1e-3);
    for (const RectifiedGeometry& wrong : {RectifiedGeometry{300, 0.1, 640, {}},
                                           {300, 0.1, -640, {}},
                                           {0, 0.1, 0, {}},
                                           {300, -0.1, 0, {}},
                                           {INFINITY, 0.1, 0, {}},
                                           {1e300, 1e-300, 0, {}},
                                           {300, 0.1, NAN, {}},
                                           {300, 0.1, 0, cv::Point2d(NAN, 0)}}) {
        EXPECT_THROW((void)makeRectifiedRig({640, 480}, wrong), Failure);
    }
    EXPECT_THROW((void)makeRectifiedRig({640, 0}, std::nullopt), Failure);
    EXPECT_THROW((void)makeRectifiedRig({40000, 1}, std::nullopt), Failure);
}

TEST(CalibrationFacts, FollowFromTheMatrices)
{
    constexpr double tolerance = 1e-4;
    vision::Calibration camera = makePair().left;
    camera.cameraMatrix =
        (cv::Mat_<float>(3, 3) << 320, 0, 319.5, 0, 240, 239.5, 0, 0, 1); // 45 degrees to each edge
    EXPECT_NEAR(cv::norm(describeCamera(camera).fieldOfView - cv::Point2d(90, 90)), 0, tolerance);
    EXPECT_EQ(describeCamera(camera).distortion.size(), 5U);

    const auto [left, right] = makePair(); // f = 500, B = 0.12, cx differ by 8
    const DepthScale scale = findDepthScale(left, right);
    EXPECT_NEAR(scale.baseline, 0.12, tolerance);
    EXPECT_NEAR(scale.depthAt(38), 2, tolerance); // 60 / (38 - 8)
    EXPECT_NEAR(scale.depthError(2, 0.25), 2.0 * 2.0 / 60 * 0.25, tolerance);
}

TEST(DepthScale, IsThatOfThePoints)
{
    const support::CalibrationPair pair = support::makeCalibrations(); // whose cx differ by 8 px
    const support::OpenStereo stereo(pair);
    for (const int width : {640, 320}) {
        const cv::Mat disparity(width * 3 / 4, width, CV_32FC1, cv::Scalar(30));
        const auto z = static_cast<double>(stereo.computeDepth(disparity).at<cv::Vec3f>(9, 9)[2]);
        const DepthScale scale = findDepthScale(makeRig({pair.left, pair.right}), width).value();
        EXPECT_NEAR(scale.depthAt(30), z, 1e-6 * z); // of single precision
        EXPECT_NEAR(scale.disparityAt(z), 30, 1e-5);
    }
}

} // namespace
