// SPDX-License-Identifier: Apache-2.0
/// Depth is defined by a sequence of OpenCV calls. The library computes it in one pass where it can and must
/// give the same bits, whatever the disparity, the calibration, the matrix in the cache and the build of
/// OpenCV.
#include "support/matrices.h"
#include "support/oracle.h"

#include <gtest/gtest.h>

#include <cfloat>

using namespace support;

namespace {

/// Ordinary numbers that use all bits of the mantissa, and with that probability odd ones.
cv::Mat randomMatrix(cv::RNG& random, const cv::Size& size, double oddProbability)
{
    constexpr float odd[] = {NAN, -NAN, INFINITY, -INFINITY, FLT_MAX, -FLT_MAX, FLT_MIN, 1e-42f, 0, -0.0f};
    cv::Mat matrix(size, CV_32FC1);
    for (float& value : cv::Mat_<float>(matrix)) {
        const bool isOdd = random.uniform(0.0, 1.0) < oddProbability;
        value = isOdd ? odd[random.uniform(0, 10)] : static_cast<float>(random.uniform(-300.0, 300.0));
    }
    return matrix;
}

TEST(DepthOracle, EveryBitIsThatOfTheOpenCvCalls)
{
    cv::RNG random(20);
    int kept = 0, blanked = 0, missing = 0;
    for (int round = 0; round < 600; ++round) {
        SCOPED_TRACE(round);
        const cv::Size size(round % 7 ? random.uniform(1, 200) : 1, round % 5 ? random.uniform(1, 20) : 1);
        const cv::Mat frame = randomMatrix(random, size + cv::Size(3, 2), 0.1);
        cv::Mat disparity = frame(cv::Rect({1, 1}, size)); // not continuous
        const int scale = random.uniform(1, 4);
        OpenStereo stereo;
        for (auto* const calibration : {&stereo._leftCalibration, &stereo._rightCalibration}) {
            calibration->width = size.width * scale;
            calibration->height = size.height * scale;
            calibration->cameraMatrix = cv::Mat::eye(3, 3, CV_32F);
            calibration->projectionMatrix = randomMatrix(random, {4, 3}, round % 2 ? 0 : 0.1);
        }
        cv::Mat leftProjection = stereo._leftCalibration.projectionMatrix;
        if (round % 3 == 0) { // the usual case, where W is zero at disparity zero
            leftProjection.at<float>(0, 2) = stereo._rightCalibration.projectionMatrix.at<float>(0, 2);
        }
        stereo.setMinDisparity(random.uniform(-size.width, size.width));
        disparity.row(size.height - 1).col(size.width - 1) =
            stereo.getMinDisparity() / scale - 2; // just invalid
        cv::Mat q = stereo._imageTransforms.emplace(size, stereo.computeImageTransforms(size))
                        .first->second.reprojectionMatrix;
        if (round % 4 == 0) { // mostly not the matrix of a horizontal pair any more
            q.col(random.uniform(0, 4)).row(random.uniform(0, 4)) =
                round % 8 ? random.uniform(-0.01, 0.01) : -0.0;
        }
        const auto depth = [&](float maxDepth, int minDisparity) {
            return oracle::depth(disparity, q, maxDepth, minDisparity, size.width * scale);
        };
        const float attained = depth(INFINITY, -1'000'000).at<cv::Vec3f>(0, 0)[2];
        stereo.setMaxDepth(attained > 0 ? attained : round % 11 ? 20.0f : NAN);

        const cv::Mat expected = depth(stereo.getMaxDepth(), stereo.getMinDisparity());
        ASSERT_TRUE(areBitEqual(stereo.computeDepth(disparity), expected));
        const cv::Mat numbers = expected.reshape(1);
        kept += cv::countNonZero(numbers > 0);
        blanked += cv::countNonZero(numbers == 0);
        missing += cv::countNonZero(~(numbers == numbers));
    }
    EXPECT_GT(std::min({kept, blanked, missing}), 10000); // each kind was really met
}

TEST(DepthOracle, IsThatOfTheCallsHalfwayBetweenTwoFloats)
{
    auto pair = makeCalibrations(98, 98);
    for (const auto* calibration : {&pair.left, &pair.right}) {
        calibration->projectionMatrix(cv::Rect(2, 0, 1, 2)) = -16777167 / 16777216.0;
    }
    pair.right.projectionMatrix.at<float>(0, 3) =
        -pair.left.projectionMatrix.at<float>(0, 0); // W = disparity
    OpenStereo stereo(pair);
    stereo.setMaxDepth(1000);
    const cv::Mat disparity(98, 98, CV_32FC1, cv::Scalar(49)); // a quotient at pixel 97 is rounded elsewhere
    const cv::Mat expected =
        oracle::depth(disparity, oracle::reprojection(pair, {98, 98}), 1000, stereo.getMinDisparity(), 98);
    EXPECT_TRUE(areBitEqual(stereo.computeDepth(disparity), expected));
    EXPECT_GT(expected.at<cv::Vec3f>(97, 97)[2], 0);
}

} // namespace
