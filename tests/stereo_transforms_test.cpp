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
    OpenStereo stereo;
    EXPECT_TRUE(stereo.getCalibrations().first == Calibration());
    EXPECT_TRUE(stereo.getCalibrations().second == Calibration());
    stereo.setCalibrations(pair.left, pair.right);
    auto copies = stereo.getCalibrations();
    for (const auto field : matrixFields) {
        for (Calibration* const outside : {&pair.left, &pair.right, &copies.first, &copies.second}) {
            (outside->*field).setTo(0);
        }
    }
    EXPECT_TRUE(stereo.getCalibrations().first == makeCalibrations().left);
    EXPECT_TRUE(stereo.getCalibrations().second == makeCalibrations().right);
}

TEST(StereoCalibrations, AreRefusedBeforeAnythingChanges)
{
    const auto pair = makeCalibrations();
    OpenStereo stereo(pair);
    (void)stereo.rectifyImageLeft(image(64, 48));
    const auto expectRefused = [&](const Calibration& left, const Calibration& right,
                                   const std::string& thrown, const std::string& logged) {
        expectRefusal<std::invalid_argument>([&] { stereo.setCalibrations(left, right); }, thrown,
                                             {stereoError("setCalibrations", logged)});
        EXPECT_TRUE(stereo._leftCalibration == pair.left && stereo._rightCalibration == pair.right);
        EXPECT_EQ(stereo._imageTransforms.size(), 1U);
        EXPECT_EQ(stereo.getMinDisparity(), 20);
    };
    const std::string size = "Calibrations don't have the same size.";
    const std::string sizes = "Left and Right calibration don't have the same size. left: ";
    auto other = makeCalibrations(320, 240);
    other.left.projectionMatrix.release(); // the sizes are checked first
    other.left.width = 640;
    expectRefused(other.left, pair.right, size, sizes + "640x240 right: 640x480");
    other.right.height = 480;
    expectRefused(pair.left, other.right, size, sizes + "640x480 right: 320x480");
    for (const cv::Mat& unusable :
         {cv::Mat(), cv::Mat(3, 3, CV_32F), cv::Mat(4, 4, CV_32F), cv::Mat(3, 4, CV_64F)}) {
        auto broken = pair;
        broken.left.projectionMatrix = broken.right.projectionMatrix = unusable;
        const std::string text = "Projection matrices must be 3x4 CV_32FC1.";
        expectRefused(broken.left, pair.right, text, text);
        expectRefused(pair.left, broken.right, text, text);
    }
}

/// Where the minimum disparity comes from, and what becomes of it: the value, stored or refused.
struct MinDisparity
{
    float leftCx, rightCx, translation, maxDepth;
    int derived;
    bool accepted;
};

TEST(StereoCalibrations, DeriveTheMinimumDisparityFromTheMaximumDepth)
{
    const MinDisparity rows[] = {
        {320, 320, -60, 5, 12, true},
        {320, 320, -64.9f, 5, 12, true},
        {310, 302, -60, 5, 20, true},
        {300, 310.5f, -1, 10, -11, true}, // rounded down, not towards zero
        {320, 320, -60, INFINITY, 0, true},
        {320, 320, -640, 1, 640, true},
        {320, 320, -641, 1, 641, false},
        {0, 640.5f, 0, 5, -641, false},
        {16777216, 1, -0.6f, 1, 16777216, false}, // single precision, principal points first
        {320, 320, -60, NAN, INT_MIN, false},
        {320, 320, -3e38f, 1e-3f, INT_MIN, false},
        {2147483648.0f, 0, 0, 5, INT_MIN, false},
    };
    for (const MinDisparity& row : rows) {
        SCOPED_TRACE(row.derived);
        auto pair = makeCalibrations();
        OpenStereo stereo(pair);
        (void)stereo.rectifyImageLeft(image(64, 48));
        stereo.setMaxDepth(row.maxDepth);
        pair.left.projectionMatrix.at<float>(0, 2) = row.leftCx;
        pair.right.projectionMatrix.at<float>(0, 2) = row.rightCx;
        pair.right.projectionMatrix.at<float>(0, 3) = row.translation;
        const auto set = [&] { stereo.setCalibrations(pair.left, pair.right); };
        if (row.accepted) {
            set();
        } else {
            const std::string logged = "Invalid min disparity (" + std::to_string(row.derived) + ").";
            expectRefusal<std::range_error>(set, "Invalid min disparity.",
                                            {stereoError("setMinDisparity", logged)});
        }
        EXPECT_EQ(stereo.getMinDisparity(), row.accepted ? row.derived : 20);
        EXPECT_TRUE(stereo._leftCalibration == pair.left && stereo._rightCalibration == pair.right);
        EXPECT_TRUE(stereo._imageTransforms.empty());
    }
}

TEST(StereoTransforms, AreThoseOfTheDirectOpenCvCalls)
{
    auto pair = makeCalibrations();
    pair.right.projectionMatrix.at<float>(0, 0) = 511; // it is the left focal length that counts
    auto withoutBaseline = makeCalibrations();
    withoutBaseline.right.projectionMatrix.at<float>(0, 3) = 0; // infinities and NaN, not refused
    for (const auto& calibrations : {pair, withoutBaseline}) {
        const OpenStereo stereo(calibrations);
        for (const cv::Size size : {cv::Size(640, 480), cv::Size(320, 240), cv::Size(1000, 750)}) {
            const auto transform = stereo.computeImageTransforms(size);
            const auto [leftX, leftY] = oracle::maps(calibrations.left, size);
            const auto [rightX, rightY] = oracle::maps(calibrations.right, size);
            EXPECT_TRUE(areBitEqual(transform.leftMapX, leftX));
            EXPECT_TRUE(areBitEqual(transform.leftMapY, leftY));
            EXPECT_TRUE(areBitEqual(transform.rightMapX, rightX));
            EXPECT_TRUE(areBitEqual(transform.rightMapY, rightY));
            EXPECT_TRUE(areBitEqual(transform.reprojectionMatrix, oracle::reprojection(calibrations, size)));
        }
        EXPECT_TRUE(stereo._imageTransforms.empty());
    }
}

TEST(StereoTransforms, AreRefusedByOpenCvWhenCalibrationsAreUnusable)
{
    const auto expectRefused = [](const OpenStereo& stereo) {
        const std::function<void()> calls[] = {
            [&] { (void)stereo.rectifyImageLeft(image(320, 240)); },
            [&] { (void)stereo.rectifyImageRight(image(320, 240)); },
            [&] { (void)stereo.rectifyImages(image(320, 240), image(320, 240)); },
            [&] { (void)stereo.rectifyImageLeft(cv::Mat()); },
            [&] { (void)stereo.computeImageTransforms(cv::Size(-640, -480)); },
        };
        for (const auto& call : calls) {
            expectRefusal<cv::Exception>(call, anyText, {});
        }
        EXPECT_TRUE(stereo._imageTransforms.empty());
    };
    expectRefused(OpenStereo());
    for (const auto side : {&OpenStereo::_leftCalibration, &OpenStereo::_rightCalibration}) {
        for (const auto field : matrixFields) {
            OpenStereo stereo(makeCalibrations());
            stereo.*side.*field = cv::Mat::ones(2, 3, CV_32FC1);
            expectRefused(stereo);
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
    EXPECT_EQ(stereo.computeDepth(cv::Mat::ones(640, 480, CV_32FC1)).size(), cv::Size(480, 640));
    EXPECT_EQ(log.take(), (LogEntries{start, reproject}));
    (void)stereo.computeDepth(cv::Mat::ones(240, 320, CV_32FC1));
    EXPECT_EQ(log.take(),
              (LogEntries{start, stereoVerbose("computeDepth", compute + "[320 x 240]"), reproject}));
    (void)stereo.rectifyImageLeft(image(320, 240));
    EXPECT_EQ(log.take(), LogEntries());
    EXPECT_EQ(stereo._imageTransforms.size(), 2U);
    EXPECT_EQ(stereo._imageTransforms.count(cv::Size(320, 240)), 1U);
    stereo.setCalibrations(pair.left, pair.right);
    EXPECT_TRUE(stereo._imageTransforms.empty());
}

} // namespace
