// SPDX-License-Identifier: Apache-2.0
#include <iostream>
#include <opencv2/imgcodecs.hpp>
#include <vision/stereo.h>

int main(int, char** argv) // left.yml right.yml left.png right.png
{
    vision::Calibration left, right;
    left.load(argv[1]);
    right.load(argv[2]);
    vision::Stereo stereo;
    stereo.setCalibrations(left, right);
    stereo.setDisparityNumber(160); // as many as the nearest thing has
    auto [l, r] = stereo.rectifyImages(cv::imread(argv[3], 0), cv::imread(argv[4], 0)); // 0: read as grey
    cv::Mat points = stereo.computeDepth(stereo.computeDisparity(l, r));
    auto centre = points.at<cv::Vec3f>(points.rows / 2, points.cols / 2);
    if (centre[2] > 0) { // neither (0, 0, 0) nor NaN
        std::cout << "centre: " << centre << " m\n";
    }
}
