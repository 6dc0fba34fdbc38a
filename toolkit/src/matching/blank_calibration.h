// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_MATCHING_BLANK_CALIBRATION_H
#define VISION_TOOLKIT_SRC_MATCHING_BLANK_CALIBRATION_H

#include <vision/calibration.h>

#include <opencv2/core/types.hpp>

namespace vision::toolkit {

/// The calibration of a camera of which only the size of its images matters: enough to match with the core.
inline vision::Calibration makeBlankCalibration(const cv::Size& size)
{
    vision::Calibration calibration;
    calibration.width = size.width;
    calibration.height = size.height;
    calibration.projectionMatrix = cv::Mat::zeros(3, 4, CV_32FC1);
    return calibration;
}

} // namespace vision::toolkit

#endif
