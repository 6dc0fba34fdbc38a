/// Depth is defined by a sequence of OpenCV calls. The library computes it in one pass and must give the same
/// bits, whatever the disparity, the calibration and the version of OpenCV.
#include <vision/stereo.h>

#include <gtest/gtest.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <tarn/log.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <stdexcept>

namespace {

cv::Mat depthOfOpenCv(const cv::Mat& disparity, const cv::Mat& q, float maxDepth, float invalidDisparity)
{
    cv::Mat points, z;
    cv::reprojectImageTo3D(disparity, points, q, false, CV_32F);
    cv::extractChannel(points, z, 2);
    points.setTo(cv::Vec3f(0, 0, 0), (z < 0.0) | (z > static_cast<double>(maxDepth)));
    points.setTo(cv::Vec3f(0, 0, 0), disparity <= static_cast<double>(invalidDisparity));
    return points;
}

/// Ordinary numbers that use all bits of the mantissa, and with that probability odd ones.
cv::Mat randomMatrix(cv::RNG& random, const cv::Size& size, double oddProbability)
{
    constexpr float odd[] = {NAN, -NAN, INFINITY, -INFINITY, FLT_MAX, -FLT_MAX, FLT_MIN, 1e-42f, 0, -0.0f};
    cv::Mat_<float> matrix(size);
    for (float& value : matrix) {
        const bool isOdd = random.uniform(0.0, 1.0) < oddProbability;
        value = isOdd ? odd[random.uniform(0, 10)] : static_cast<float>(random.uniform(-300.0, 300.0));
    }
    return std::move(matrix);
}

bool sameBits(float a, float b)
{
    // Which NaN comes out of two is the compiler's choice, also inside OpenCV.
    return (a == b && std::signbit(a) == std::signbit(b)) || (std::isnan(a) && std::isnan(b));
}

} // namespace

TEST(DepthOracle, EveryBitIsThatOfTheOpenCvCalls)
{
    tarn::log::setLevel("vision.stereo", tarn::LogLevel::None); // minimum disparities are refused at random
    cv::RNG random(20);
    int kept = 0, blanked = 0, missing = 0;
    for (int round = 0; round < 600; ++round) {
        const cv::Size size(round % 7 ? random.uniform(1, 200) : 1, round % 5 ? random.uniform(1, 20) : 1);
        const cv::Mat frame = randomMatrix(random, size + cv::Size(3, 2), 0.1);
        const cv::Mat disparity = frame(cv::Rect({1, 1}, size)); // not continuous
        const int scale = random.uniform(1, 4), minDisparity = random.uniform(-size.width, size.width);
        vision::Calibration left, right;
        for (vision::Calibration* calibration : {&left, &right}) {
            calibration->width = size.width * scale;
            calibration->height = size.height * scale;
            calibration->cameraMatrix = cv::Mat::eye(3, 3, CV_32F);
            calibration->projectionMatrix = randomMatrix(random, {4, 3}, round % 2 ? 0 : 0.1);
        }
        if (round % 3 == 0) { // the usual case, where W is zero at disparity zero
            right.projectionMatrix.at<float>(0, 2) = left.projectionMatrix.at<float>(0, 2);
        }
        vision::Stereo stereo;
        try {
            stereo.setCalibrations(left, right);
        } catch (const std::range_error&) { // the calibrations are stored all the same
        }
        stereo.setMinDisparity(minDisparity);
        const cv::Mat q = stereo.computeImageTransforms(size).reprojectionMatrix;
        const int smallest = minDisparity / scale - 1;
        const float invalid = static_cast<float>(smallest) - 1.0f;
        const float attained = depthOfOpenCv(disparity, q, INFINITY, -INFINITY).at<cv::Vec3f>(0, 0)[2];
        stereo.setMaxDepth(attained > 0 ? attained : round % 11 ? 20.0f : NAN);

        const cv::Mat expected = depthOfOpenCv(disparity, q, stereo.getMaxDepth(), invalid);
        const cv::Mat actual = stereo.computeDepth(disparity);
        ASSERT_EQ(actual.type(), CV_32FC3);
        ASSERT_EQ(actual.size(), size);
        for (int i = 0; i < 3 * size.area(); ++i) {
            const float want = expected.ptr<float>()[i], got = actual.ptr<float>()[i];
            ASSERT_TRUE(sameBits(want, got))
                << "round " << round << ", " << i << ": " << got << ", not " << want;
            ++(std::isnan(got) ? missing : got == 0 ? blanked : kept);
        }
    }
    EXPECT_GT(std::min({kept, blanked, missing}), 10000); // each kind was really met
}
