// SPDX-License-Identifier: Apache-2.0
#include "log_categories.h"

#include <vision/stereo.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp> // OpenCV 3 declares initUndistortRectifyMap here

#include <cmath>
#include <limits>
#include <stdexcept>

namespace vision {

namespace {

bool isProjection(const cv::Mat& matrix)
{
    return matrix.type() == CV_32FC1 && matrix.rows == 3 && matrix.cols == 4;
}

/// Converts by truncation. What no int can hold becomes the lowest one, which setMinDisparity() always
/// refuses.
int toMinDisparity(float disparity)
{
    constexpr float limit = 2147483648.0f; // 2^31
    const bool fits = -limit <= disparity && disparity < limit;
    return fits ? static_cast<int>(disparity) : std::numeric_limits<int>::min();
}

void buildMaps(const Calibration& calibration, const cv::Size& size, cv::Mat& mapX, cv::Mat& mapY)
{
    cv::initUndistortRectifyMap(calibration.cameraMatrix,
                                calibration.distortion,
                                calibration.rectificationMatrix,
                                calibration.projectionMatrix, // of which it takes the first three columns
                                size,
                                CV_32FC1,
                                mapX,
                                mapY);
}

/// The matrix Q of cv::stereoRectify, from the projection matrices of a horizontal pair.
cv::Mat buildReprojection(const cv::Mat& left, const cv::Mat& right)
{
    const float f = left.at<float>(0, 0);
    const float cx = left.at<float>(0, 2);
    const float cy = left.at<float>(1, 2);
    const float rightCx = right.at<float>(0, 2);
    const float tx = right.at<float>(0, 3) / f;
    float rows[4][4] = {
        {1, 0, 0, -cx},
        {0, 1, 0, -cy},
        {0, 0, 0, f},
        {0, 0, -1 / tx, (cx - rightCx) / tx},
    };
    return cv::Mat(4, 4, CV_32FC1, rows).clone();
}

} // namespace

void Stereo::setCalibrations(const Calibration& left, const Calibration& right)
{
    if (left.width != right.width || left.height != right.height) {
        detail::refuse<std::invalid_argument>(detail::stereoCategory,
                                              "setCalibrations",
                                              "Calibrations don't have the same size.",
                                              "Left and Right calibration don't have the same size.",
                                              " left: ",
                                              left.width,
                                              "x",
                                              left.height,
                                              " right: ",
                                              right.width,
                                              "x",
                                              right.height);
    }
    if (!isProjection(left.projectionMatrix) || !isProjection(right.projectionMatrix)) {
        detail::refuse<std::invalid_argument>(
            detail::stereoCategory, "setCalibrations", "Projection matrices must be 3x4 CV_32FC1.");
    }
    _leftCalibration = left;
    _rightCalibration = right;
    _imageTransforms.clear();

    const cv::Mat& leftProjection = _leftCalibration.projectionMatrix;
    const cv::Mat& rightProjection = _rightCalibration.projectionMatrix;
    const float disparity = std::floor((leftProjection.at<float>(0, 2) - rightProjection.at<float>(0, 2)) -
                                       rightProjection.at<float>(0, 3) / _maxDepth);
    setMinDisparity(toMinDisparity(disparity));
}

std::pair<Calibration, Calibration> Stereo::getCalibrations() const
{
    return {_leftCalibration, _rightCalibration};
}

Stereo::ImageTransform Stereo::computeImageTransforms(const cv::Size& size) const
{
    if (_leftCalibration.projectionMatrix.empty()) {
        CV_Error(cv::Error::StsBadArg,
                 "Calibrations must be set before images are processed: call setCalibrations() first.");
    }
    const Calibration left = _leftCalibration.scaleTo(size.width, size.height);
    const Calibration right = _rightCalibration.scaleTo(size.width, size.height);
    const cv::Size square(3, 3);
    if (left.cameraMatrix.size() != square || right.cameraMatrix.size() != square) {
        // OpenCV does not check the shape and would read past the matrix.
        CV_Error(cv::Error::StsBadArg, "Camera matrices must be 3x3: complete the calibrations.");
    }

    ImageTransform transform;
    buildMaps(left, size, transform.leftMapX, transform.leftMapY);
    buildMaps(right, size, transform.rightMapX, transform.rightMapY);
    transform.reprojectionMatrix = buildReprojection(left.projectionMatrix, right.projectionMatrix);
    return transform;
}

const Stereo::ImageTransform& Stereo::_findTransforms(const cv::Mat& image, const char* caller) const
{
    const cv::Size size(image.cols, image.rows);
    const auto cached = _imageTransforms.find(size);
    if (cached != _imageTransforms.end()) {
        return cached->second;
    }
    detail::logRecord(tarn::LogLevel::Verbose,
                      detail::stereoCategory,
                      caller,
                      "Compute transforms for resolution ",
                      "[",
                      size.width,
                      " x ",
                      size.height,
                      "]");
    return _imageTransforms.emplace(size, computeImageTransforms(size)).first->second;
}

} // namespace vision
