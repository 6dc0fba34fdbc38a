// SPDX-License-Identifier: Apache-2.0
#include "support/scene.h"

#include <gtest/gtest.h>

using namespace support;
using vision::Stereo;

namespace {

/// Block matching finds the disparity of a smooth texture to a quarter of a pixel, the change inside a block
/// that a tilted plane brings included. A shift by one pixel anywhere in the pipeline is far beyond it.
constexpr double maxDisparityError = 0.25;
constexpr double shareAccurate = 0.98; // the rest lies at the borders
constexpr double shareKept = 0.6; // nothing is found within the search range and half a block of the borders

using StereoScene = testing::TestWithParam<std::tuple<Stereo::StereoAlgorithm, int, double>>;

TEST_P(StereoScene, GivesTheDepthOfATexturedPlane)
{
    const auto [algorithm, width, slope] = GetParam();
    const Plane plane{2.5, slope};
    const auto pair = makeCalibrations();
    Stereo stereo;
    stereo.setCalibrations(pair.left, pair.right);
    stereo.setStereoAlgorithm(algorithm);
    const auto picture = [&, size = cv::Size(width, width * 3 / 4)](const vision::Calibration& camera) {
        cv::Mat resized;
        cv::resize(photograph(plane, camera), resized, size, 0, 0, cv::INTER_AREA);
        return resized;
    };
    const auto [left, right] = stereo.rectifyImages(picture(pair.left), picture(pair.right));
    const cv::Mat depth = stereo.computeDepth(stereo.computeDisparity(left, right));

    const cv::Matx34f p = pair.left.scaleTo(width, width * 3 / 4).projectionMatrix;
    const double focalTimesBaseline = static_cast<double>(p(0, 0)) * baseline;
    int kept = 0;
    int accurate = 0;
    for (auto point = depth.begin<cv::Vec3f>(); point != depth.end<cv::Vec3f>(); ++point) {
        if ((*point)[2] > 0) {
            const double expected = plane.depth((static_cast<double>(point.pos().x) - p(0, 2)) / p(0, 0));
            const double error = focalTimesBaseline / (*point)[2] - focalTimesBaseline / expected;
            ++kept;
            accurate += std::abs(error) < maxDisparityError ? 1 : 0;
        }
    }
    EXPECT_GT(kept, shareKept * static_cast<double>(depth.total()));
    EXPECT_GT(accurate, shareAccurate * kept);
}

INSTANTIATE_TEST_SUITE_P(Planes, StereoScene,
                         testing::Combine(testing::Values(Stereo::BM, Stereo::SGBM),
                                          testing::Values(640, 320), testing::Values(0.0, 0.3)));

} // namespace
