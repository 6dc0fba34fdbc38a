// SPDX-License-Identifier: Apache-2.0
#include "support/log_records.h"
#include "support/matrices.h"
#include "support/oracle.h"

#include <climits>
#include <cmath>

using namespace support;
using vision::Calibration;

namespace {

cv::Mat image(int width, int height)
{
    return cv::Mat(height, width, CV_8UC1, cv::Scalar(100));
}

TEST(StereoCalibrations, AreDeepCopiesBothWays)
{
    auto pair = makeCalibrations();
    const OpenStereo stereo(pair);
    auto copies = stereo.getCalibrations();
    pair.left.cameraMatrix.setTo(0);
    copies.second.projectionMatrix.setTo(0);
    EXPECT_TRUE(stereo._leftCalibration == makeCalibrations().left);
    EXPECT_TRUE(stereo._rightCalibration == makeCalibrations().right);
    EXPECT_TRUE(copies.first == makeCalibrations().left);
}

TEST(StereoCalibrations, AreRefusedBeforeAnythingChanges)
{
    const auto pair = makeCalibrations();
    OpenStereo stereo(pair);
    (void)stereo.rectifyImageLeft(image(64, 48));
    const auto expectRefused =
        [&](const CalibrationPair& refused, const std::string& thrown, const std::string& logged) {
            expectRefusal<std::invalid_argument>([&] { stereo.setCalibrations(refused.left, refused.right); },
                                                 thrown,
                                                 {stereoError("setCalibrations", logged)});
            EXPECT_TRUE(stereo._leftCalibration == pair.left && stereo._rightCalibration == pair.right);
            EXPECT_EQ(stereo._imageTransforms.size(), 1U);
            EXPECT_EQ(stereo.getMinDisparity(), 20);
        };
    const std::string size = "Calibrations don't have the same size.";
    const std::string sizes = "Left and Right calibration don't have the same size. left: ";
    expectRefused({makeCalibration(320, 480, 0), pair.right}, size, sizes + "320x480 right: 640x480");
    expectRefused({pair.left, makeCalibration(640, 240, 1)}, size, sizes + "640x480 right: 640x240");
    const std::string shape = "Projection matrices must be 3x4 CV_32FC1.";
    for (const cv::Mat& unusable : {cv::Mat(3, 3, CV_32F), cv::Mat(4, 4, CV_32F), cv::Mat(3, 4, CV_64F)}) {
        for (const auto side : {&CalibrationPair::left, &CalibrationPair::right}) {
            auto broken = pair;
            (broken.*side).projectionMatrix = unusable;
            expectRefused(broken, shape, shape);
        }
    }
}

TEST(StereoCalibrations, DeriveTheMinimumDisparityFromTheMaximumDepth)
{
    struct
    {
        float leftCx, rightCx, translation, maxDepth;
        int derived; ///< taken up to the width of 640 px
    } const rows[] = {
        {320, 320, -64.9f, 5, 12},
        {310, 302, -60, 5, 20},
        {300, 310.5f, -1, 10, -11}, // rounded down, not towards zero
        {320, 320, -60, INFINITY, 0},
        {320, 320, -641, 1, 641},
        {16777216, 1, -0.6f, 1, 16777216}, // single precision, principal points first
        {320, 320, -60, NAN, INT_MIN},
        {320, 320, -3e38f, 1e-3f, INT_MIN},
        {2147483648.0f, 0, 0, 5, INT_MIN},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.derived);
        auto pair = makeCalibrations();
        OpenStereo stereo(pair);
        (void)stereo.rectifyImageLeft(image(64, 48));
        stereo.setMaxDepth(row.maxDepth);
        pair.left.projectionMatrix.at<float>(0, 2) = row.leftCx;
        pair.right.projectionMatrix.at<float>(0, 2) = row.rightCx;
        pair.right.projectionMatrix.at<float>(0, 3) = row.translation;
        const auto set = [&] { stereo.setCalibrations(pair.left, pair.right); };
        if (-640 <= row.derived && row.derived <= 640) {
            set();
            EXPECT_EQ(stereo.getMinDisparity(), row.derived);
        } else {
            const std::string logged = "Invalid min disparity (" + std::to_string(row.derived) + ").";
            expectRefusal<std::range_error>(
                set, "Invalid min disparity.", {stereoError("setMinDisparity", logged)});
            EXPECT_EQ(stereo.getMinDisparity(), 20);
        }
        EXPECT_TRUE(stereo._leftCalibration == pair.left && stereo._rightCalibration == pair.right);
        EXPECT_TRUE(stereo._imageTransforms.empty());
    }
}

/// By cv::Exception, with a text of ours where OpenCV would say nothing helpful or read past a matrix.
TEST(StereoTransforms, AreRefusedForUnusableCalibrationsAndImages)
{
    const auto transform = [](const OpenStereo& stereo, cv::Size size) {
        return [&stereo, size] { (void)stereo.computeImageTransforms(size); };
    };
    const OpenStereo unset, usable(makeCalibrations());
    const std::string set = "call setCalibrations() first";
    expectUnloggedRefusal<cv::Exception>(transform(unset, {320, 240}), set);
    expectUnloggedRefusal<cv::Exception>([&] { (void)unset.rectifyImageRight(image(64, 48)); }, set);
    expectUnloggedRefusal<cv::Exception>([&] { (void)usable.rectifyImageLeft(cv::Mat()); },
                                         "is empty: check");
    EXPECT_TRUE(usable._imageTransforms.empty());
    EXPECT_TRUE(usable.computeImageTransforms(cv::Size()).leftMapX.empty()) << "OpenCV does not refuse that";
    expectUnloggedRefusal<cv::Exception>(transform(usable, {-640, -480}), "");
    const std::pair<cv::Mat Calibration::*, std::string> rows[] = {
        {&Calibration::cameraMatrix, "Camera matrices must be 3x3: complete"},
        {&Calibration::distortion, ""},
        {&Calibration::rectificationMatrix, ""},
        {&Calibration::projectionMatrix, "projectionMatrix must be CV_32FC1 of at least 2x4: load"},
    };
    for (const auto side : {&OpenStereo::_leftCalibration, &OpenStereo::_rightCalibration}) {
        for (const auto& [field, text] : rows) {
            OpenStereo stereo(makeCalibrations());
            stereo.*side.*field = cv::Mat::ones(2, 3, CV_32FC1);
            expectUnloggedRefusal<cv::Exception>(transform(stereo, {320, 240}), text);
        }
    }
}

TEST(StereoTransforms, AreComputedOnceForEachAreaUntilCalibrationsAreSet)
{
    const auto pair = makeCalibrations();
    OpenStereo stereo(pair);
    RecordedLog log;
    const std::string compute = "Compute transforms for resolution ";
    const auto start = stereoVerbose("computeDepth", "Computing depth...");
    const auto reproject = stereoVerbose("computeDepth", "Reproject to 3D...");

    (void)stereo.rectifyImages(image(640, 480), image(640, 480));
    EXPECT_EQ(log.take(), LogEntries{stereoVerbose("_rectifyImage", compute + "[640 x 480]")});
    EXPECT_EQ(stereo.rectifyImageRight(image(480, 640)).size(), cv::Size(640, 480));
    EXPECT_EQ(log.take(), LogEntries());
    (void)stereo.computeDepth(cv::Mat::ones(240, 320, CV_32FC1));
    EXPECT_EQ(log.take(),
              (LogEntries{start, stereoVerbose("computeDepth", compute + "[320 x 240]"), reproject}));
    EXPECT_EQ(stereo.computeDepth(cv::Mat::ones(640, 480, CV_32FC1)).size(), cv::Size(480, 640));
    EXPECT_EQ(log.take(), (LogEntries{start, reproject}));
    EXPECT_EQ(stereo._imageTransforms.size(), 2U);
    stereo.setCalibrations(pair.left, pair.right);
    EXPECT_TRUE(stereo._imageTransforms.empty());
}

} // namespace
