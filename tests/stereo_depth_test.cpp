#include "support/matrices.h"
#include "support/oracle.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>

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

std::ostream& operator<<(std::ostream& out, const DepthCase& row)
{
    return out << row.imageSize << " of " << row.calibrationSize << " depth to " << row.maxDepth
               << " disparity from " << row.minDisparity << " translation " << row.translation;
}

CalibrationPair makeExactCalibrations(const DepthCase& row)
{
    auto pair = makeCalibrations(row.calibrationSize.width, row.calibrationSize.height);
    pair.left.projectionMatrix.at<float>(0, 0) = 512;
    pair.left.projectionMatrix.at<float>(0, 2) = 32 + row.shift;
    pair.right.projectionMatrix.at<float>(0, 2) = 32;
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
    cv::RNG random(11);
    random.fill(cv::Mat(row.imageSize, CV_32SC1, disparity.data), cv::RNG::UNIFORM, INT_MIN, INT_MAX);
    random.fill(disparity.rowRange(0, (disparity.rows + 1) / 2), cv::RNG::UNIFORM, -20, 120);
    const float scale = static_cast<float>(row.calibrationSize.width / row.imageSize.width);
    const float threshold = static_cast<float>(row.minDisparity / static_cast<int>(scale) - 2);
    const float atMaxDepth = (row.shift + 128 / row.maxDepth) / scale;
    std::vector<float> specials{0, -0.0f, NAN, INFINITY, -INFINITY, FLT_MAX, -FLT_MAX, FLT_TRUE_MIN, 1e30f};
    for (const float edge : {row.shift / scale, atMaxDepth, threshold}) {
        const auto next = [edge](float towards) { return std::nextafter(edge, towards); };
        specials.insert(specials.end(), {next(-INFINITY), edge, next(INFINITY)});
    }
    std::copy_n(specials.begin(), std::min(specials.size(), disparity.total()), disparity.begin<float>());
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
    {{128, 96}, {128, 96}, 8, 4, -128, 0},
    {{1, 1}, {1, 1}, 0, 4, 0},
    {{64, 1}, {64, 1}, 8, 100, 0},
    {{1, 64}, {1, 64}, 0, 100, 0},
};

using StereoDepth = testing::TestWithParam<DepthCase>;

TEST_P(StereoDepth, EqualsTheDirectOpenCvCallsForEveryValue)
{
    const DepthCase& row = GetParam();
    const cv::Mat disparity = makeDisparity(row);
    const cv::Mat reprojection = oracle::reprojection(makeExactCalibrations(row), row.imageSize);
    const cv::Mat expected =
        oracle::depth(disparity, reprojection, row.maxDepth, row.minDisparity, row.calibrationSize.width);
    EXPECT_TRUE(areBitEqual(computeDepth(row, disparity), expected));

    cv::Mat wider(disparity.rows, disparity.cols + 3, CV_32FC1, cv::Scalar(50));
    const cv::Mat part = wider.colRange(2, 2 + disparity.cols);
    disparity.copyTo(part);
    EXPECT_TRUE(areBitEqual(computeDepth(row, part), expected));
}

INSTANTIATE_TEST_SUITE_P(Cases, StereoDepth, testing::ValuesIn(depthCases));

TEST(StereoDepthLaw, DepthOfTheDisparityOfADepthIsThatDepthUpToTheMaximum)
{
    const DepthCase row{{128, 96}, {128, 96}, 8, 4, 12};
    for (float z = 4; z > 0.5f; z *= 0.9f) {
        const float disparity = 8 + 128 / z; // the largest depth, 4, comes without rounding
        const cv::Mat depth = computeDepth(row, cv::Mat(96, 128, CV_32FC1, cv::Scalar(disparity)));
        // The disparity is rounded to a float, and its subtraction of 8 magnifies that; two more roundings.
        const float tolerance = z * FLT_EPSILON * (disparity / (disparity - 8) + 2);
        EXPECT_NEAR(depth.at<cv::Vec3f>(95, 127)[2], z, tolerance);
    }
}

} // namespace
