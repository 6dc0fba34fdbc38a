#include "support/matrices.h"
#include "support/oracle.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

using namespace support;

namespace {

/// Z = 128 / (disparity - shift), with nothing lost to rounding in the reprojection matrix.
struct DepthCase
{
    cv::Size calibrationSize;
    cv::Size imageSize;
    float shift;
    float maxDepth;
    int minDisparity;
    float translation = -128; ///< -focal length * baseline
};

CalibrationPair makeExactCalibrations(const DepthCase& row)
{
    auto pair = makeCalibrations(row.calibrationSize.width, row.calibrationSize.height);
    for (vision::Calibration* const calibration : {&pair.left, &pair.right}) {
        calibration->projectionMatrix.at<float>(0, 0) = 512;
        calibration->projectionMatrix.at<float>(0, 2) = calibration == &pair.left ? 32 + row.shift : 32;
    }
    pair.right.projectionMatrix.at<float>(0, 3) = row.translation;
    return pair;
}

cv::Mat computeDepth(const DepthCase& row, const cv::Mat& disparity)
{
    OpenStereo stereo;
    const auto pair = makeExactCalibrations(row);
    stereo.setMaxDepth(FLT_MAX); // derives a minimum disparity that any width takes
    stereo.setCalibrations(pair.left, pair.right);
    stereo.setMaxDepth(row.maxDepth);
    stereo.setMinDisparity(row.minDisparity);
    return stereo.computeDepth(disparity);
}

/// Ordinary disparities, arbitrary bits and, at the start, every special value that the size has room for.
cv::Mat makeDisparity(const DepthCase& row)
{
    cv::Mat disparity(row.imageSize, CV_32FC1);
    cv::Mat bits(row.imageSize, CV_32SC1, disparity.data);
    cv::RNG random(11);
    random.fill(bits, cv::RNG::UNIFORM, INT_MIN, INT_MAX);
    if (disparity.rows > 1) {
        random.fill(disparity.rowRange(0, disparity.rows / 2), cv::RNG::UNIFORM, -20, 120);
    }
    std::vector<float> specials{NAN,           INFINITY, -INFINITY, 0,        -0.0f, FLT_TRUE_MIN,
                                -FLT_TRUE_MIN, FLT_MIN,  FLT_MAX,   -FLT_MAX, 1e30f, -1e30f};
    const int scale = row.calibrationSize.width / row.imageSize.width;
    const float shift = row.shift / static_cast<float>(scale);
    const float atMaxDepth = shift + 128 / static_cast<float>(scale) / row.maxDepth;
    for (const float edge : {shift, atMaxDepth, static_cast<float>(row.minDisparity / scale - 2)}) {
        specials.insert(specials.end(),
                        {std::nextafter(edge, -INFINITY), edge, std::nextafter(edge, INFINITY)});
    }
    const auto count = std::min(specials.size(), disparity.total());
    std::copy_n(specials.begin(), count, disparity.begin<float>());
    return disparity;
}

const DepthCase depthCases[] = {
    {{128, 96}, {128, 96}, 8, 4, 12},
    {{128, 96}, {64, 48}, 8, 4, 12},
    {{128, 96}, {64, 48}, 0, FLT_MAX, -3},
    {{128, 96}, {128, 96}, 0, FLT_MAX, -128},
    {{128, 96}, {40, 30}, -8, 4, -17},
    {{128, 96}, {32, 24}, 0, INFINITY, 1},
    {{128, 96}, {128, 96}, 8, NAN, -20},
    {{128, 96}, {128, 96}, 8, FLT_TRUE_MIN, 0},
    {{128, 96}, {128, 96}, 8, 4, -20, 128},
    {{128, 96}, {128, 96}, 8, 4, 12, 0},
    {{1, 1}, {1, 1}, 0, 4, 0},
    {{64, 1}, {64, 1}, 8, 100, 0},
    {{1, 64}, {1, 64}, 0, 100, 0},
};

using StereoDepth = testing::TestWithParam<DepthCase>;

TEST_P(StereoDepth, EqualsTheDirectOpenCvCallsForEveryValue)
{
    const DepthCase& row = GetParam();
    const cv::Mat disparity = makeDisparity(row);
    const cv::Mat expected =
        oracle::depth(disparity, oracle::reprojection(makeExactCalibrations(row), row.imageSize),
                      row.maxDepth, row.minDisparity, row.calibrationSize.width);
    EXPECT_TRUE(areBitEqual(computeDepth(row, disparity), expected));

    cv::Mat wider(disparity.rows, disparity.cols + 3, CV_32FC1, cv::Scalar(50));
    disparity.copyTo(wider.colRange(2, 2 + disparity.cols));
    EXPECT_TRUE(areBitEqual(computeDepth(row, wider.colRange(2, 2 + disparity.cols)), expected));
}

INSTANTIATE_TEST_SUITE_P(Cases, StereoDepth, testing::ValuesIn(depthCases));

/// Z at the first pixel of an image of this disparity.
float depthOf(float disparity, float maxDepth)
{
    const DepthCase row{{128, 96}, {128, 96}, 8, maxDepth, 12};
    return computeDepth(row, cv::Mat(96, 128, CV_32FC1, cv::Scalar(disparity))).at<cv::Vec3f>(0, 0)[2];
}

TEST(StereoDepthBounds, KeepTheMaximumDepthAndBlankTheLargestInvalidDisparity)
{
    EXPECT_EQ(depthOf(40, 4), 4);
    EXPECT_EQ(depthOf(std::nextafter(40.0f, 0.0f), 4), 0);
    EXPECT_EQ(depthOf(10, FLT_MAX), 0);
    EXPECT_EQ(depthOf(10.25f, FLT_MAX), 128 / 2.25f);
}

TEST(StereoDepthLaw, DepthOfTheDisparityOfADepthIsThatDepth)
{
    for (float z = 0.5f; z < 40; z *= 1.1f) {
        const float disparity = 8 + 128 / z;
        // The disparity is rounded to a float, and its subtraction of 8 magnifies that; two more roundings.
        const float tolerance = z * FLT_EPSILON * (disparity / (disparity - 8) + 2);
        EXPECT_NEAR(depthOf(disparity, FLT_MAX), z, tolerance);
    }
}

} // namespace
