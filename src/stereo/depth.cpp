// SPDX-License-Identifier: Apache-2.0
#include "log_categories.h"
#include "stereo/image_scale.h"
#include "stereo/reprojection.h"

#include <vision/stereo.h>

#include <stdexcept>

namespace vision {

cv::Mat Stereo::computeDepth(const cv::Mat& disparity) const
{
    using detail::stereoCategory;
    constexpr const char* method = "computeDepth";

    detail::logRecord(tarn::LogLevel::Verbose, stereoCategory, method, "Computing depth...");
    if (disparity.type() != CV_32FC1) {
        detail::refuse<std::invalid_argument>(
            stereoCategory, method, "Wrong disparity image type, need CV_32FC1.");
    }
    const int scale = detail::requireImageScale(disparity, _leftCalibration.width, method);
    const cv::Mat& q = _findTransforms(disparity, method).reprojectionMatrix;
    detail::logRecord(tarn::LogLevel::Verbose, stereoCategory, method, "Reproject to 3D...");

    // Pixels without a match hold one less than the smallest disparity searched.
    const float invalidDisparity = static_cast<float>(detail::scaleMinDisparity(_minDisparity, scale)) - 1.0f;
    return detail::reproject(disparity, q, {_maxDepth, invalidDisparity});
}

} // namespace vision
