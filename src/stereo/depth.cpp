#include "stereo/image_scale.h"
#include "stereo/log_category.h"

#include <vision/stereo.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <stdexcept>

namespace vision {

cv::Mat Stereo::computeDepth(const cv::Mat& disparity) const
{
    using detail::stereoCategory;
    constexpr const char* function = "computeDepth";

    detail::logRecord(tarn::LogLevel::Verbose, stereoCategory, function, "Computing depth...");
    if (disparity.type() != CV_32FC1) {
        detail::refuse<std::invalid_argument>(stereoCategory, function,
                                              "Wrong disparity image type, need CV_32FC1.");
    }
    const int scale = detail::requireImageScale(disparity, _leftCalibration.width, function);
    const ImageTransform& transform = _findTransforms(disparity, function);
    detail::logRecord(tarn::LogLevel::Verbose, stereoCategory, function, "Reproject to 3D...");

    cv::Mat points;
    cv::reprojectImageTo3D(disparity, points, transform.reprojectionMatrix, false, CV_32F);

    cv::Mat z;
    cv::extractChannel(points, z, 2);
    const cv::Mat outOfRange = (z < 0.0) | (z > static_cast<double>(_maxDepth));
    points.setTo(cv::Vec3f(0, 0, 0), outOfRange);

    // Pixels without a match hold one less than the smallest disparity searched.
    const float invalid = static_cast<float>(detail::scaleMinDisparity(_minDisparity, scale)) - 1.0f;
    points.setTo(cv::Vec3f(0, 0, 0), disparity <= static_cast<double>(invalid));
    return points;
}

} // namespace vision
