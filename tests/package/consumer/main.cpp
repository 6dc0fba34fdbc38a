// SPDX-License-Identifier: Apache-2.0
#include <vision/stereo.h>

#include <iostream>
#include <stdexcept>

int main()
{
    vision::Calibration calibration;
    calibration.width = 64;
    calibration.height = 48;
    calibration.cameraMatrix = cv::Mat::eye(3, 3, CV_32FC1);
    calibration.projectionMatrix = cv::Mat::eye(3, 4, CV_32FC1);
    vision::Stereo stereo;
    stereo.setCalibrations(calibration, calibration);
    try {
        stereo.setWindowSize(4);
    } catch (const std::range_error& error) {
        std::cout << error.what() << '\n';
    }
    std::cout << stereo.computeDepth(cv::Mat::ones(24, 32, CV_32FC1)).size() << '\n';
}
