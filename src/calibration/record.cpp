// SPDX-License-Identifier: Apache-2.0
#include <vision/calibration.h>

#include <opencv2/core.hpp>

namespace vision {

namespace {

/// Compares by cv::compare, which takes a pair of empty matrices; OpenCV's `!=` refuses them.
bool differ(const cv::Mat& left, const cv::Mat& right)
{
    cv::Mat mask;
    cv::compare(left, right, mask, cv::CMP_NE);
    return cv::countNonZero(mask) != 0;
}

} // namespace

Calibration::Calibration(const Calibration& other) : width(other.width), height(other.height)
{
    other.cameraMatrix.copyTo(cameraMatrix);
    other.distortion.copyTo(distortion);
    other.rectificationMatrix.copyTo(rectificationMatrix);
    other.projectionMatrix.copyTo(projectionMatrix);
}

Calibration& Calibration::operator=(const Calibration& other)
{
    width = other.width;
    height = other.height;
    // A clone per member rather than copyTo into it: a buffer that others share must not be written into.
    cameraMatrix = other.cameraMatrix.clone();
    distortion = other.distortion.clone();
    rectificationMatrix = other.rectificationMatrix.clone();
    projectionMatrix = other.projectionMatrix.clone();
    return *this;
}

bool Calibration::operator==(const Calibration& other) const
{
    if (width != other.width || height != other.height) {
        return false;
    }
    return !differ(cameraMatrix, other.cameraMatrix) && !differ(distortion, other.distortion) &&
           !differ(rectificationMatrix, other.rectificationMatrix) &&
           !differ(projectionMatrix, other.projectionMatrix);
}

bool Calibration::operator!=(const Calibration& other) const
{
    return !(*this == other);
}

} // namespace vision
