// SPDX-License-Identifier: Apache-2.0
/// The tests of depth once more, beside an OpenCV that rounds X and Y twice, as many of its builds do: this
/// definition takes the place of the one in its library, for ours as well.
#include "support/calibrations.h"

#include <gtest/gtest.h>

#include <cfloat>

static int calls = 0;

void cv::reprojectImageTo3D(InputArray disparityArray, OutputArray pointsArray, InputArray q, bool, int)
{
    ++calls;
    const Mat disparity = disparityArray.getMat();
    Matx44d wideQ;
    q.getMat().convertTo(wideQ, CV_64F);
    pointsArray.create(disparity.size(), CV_32FC3);
    Mat points = pointsArray.getMat();
    for (int y = 0; y < disparity.rows; ++y) {
        for (int x = 0; x < disparity.cols; ++x) {
            const float d = disparity.at<float>(y, x);
            const Vec4d homogeneous = wideQ * Vec4d(x, y, d, 1);
            Vec3f& point = points.at<Vec3f>(y, x);
            for (int i = 0; i < 3; ++i) {
                point[i] = static_cast<float>(homogeneous[i]);
                point[i] = static_cast<float>(point[i] * (1.0 / homogeneous[3]));
            }
            point[2] = d == FLT_MAX ? 10000.0f : point[2];
        }
    }
}

TEST(DepthRounding, IsAskedForOnce)
{
    const support::OpenStereo stereo(support::makeCalibrations());
    const cv::Mat disparity = cv::Mat::ones(48, 64, CV_32FC1);
    (void)stereo.computeDepth(disparity);
    const int before = calls;
    (void)stereo.computeDepth(disparity);
    EXPECT_EQ(calls, before) << "the pass over the image that takes a fraction of the time was not used";
}
