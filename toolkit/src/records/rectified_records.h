// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_RECORDS_RECTIFIED_RECORDS_H
#define VISION_TOOLKIT_SRC_RECORDS_RECTIFIED_RECORDS_H

#include <vision/toolkit/records/calibration_pair.h>

#include <opencv2/core/mat.hpp>

namespace vision::toolkit {

/// Two cameras that are not rectified yet: x_right = R x_left + T. All matrices `CV_64F`, T in metres.
struct RawRig
{
    cv::Size size;
    cv::Mat leftCamera;
    cv::Mat leftDistortion;
    cv::Mat rightCamera;
    cv::Mat rightDistortion;
    cv::Mat rotation;
    cv::Mat translation;
};

/// Puts both images on one plane with corresponding rows and zero disparity at infinity.
/// @param alpha 0: only valid pixels, 1: all pixels of the images
CalibrationPair makeRectifiedRecords(const RawRig& rig, double alpha);

} // namespace vision::toolkit

#endif
