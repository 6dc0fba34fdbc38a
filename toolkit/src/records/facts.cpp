// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/records/inspection.h>

#include <cmath>

namespace vision::toolkit {

namespace {

/// The angle between the rays through the first and the last edge of the image.
double findAngle(double focalLength, double principalPoint, int length)
{
    const double edge = principalPoint + 0.5; // whole numbers are the centres of pixels
    return (std::atan(edge / focalLength) + std::atan((length - edge) / focalLength)) * 180 / CV_PI;
}

} // namespace

CameraFacts describeCamera(const Calibration& calibration)
{
    const cv::Matx33f camera = calibration.cameraMatrix;
    CameraFacts facts;
    facts.size = {calibration.width, calibration.height};
    facts.focalLength = {camera(0, 0), camera(1, 1)};
    facts.principalPoint = {camera(0, 2), camera(1, 2)};
    facts.fieldOfView = {findAngle(camera(0, 0), camera(0, 2), calibration.width),
                         findAngle(camera(1, 1), camera(1, 2), calibration.height)};
    if (!calibration.distortion.empty()) {
        calibration.distortion.reshape(1, 1).convertTo(facts.distortion, CV_64F);
    }
    return facts;
}

DepthScale findDepthScale(const Calibration& left, const Calibration& right)
{
    const cv::Matx34d leftProjection = cv::Matx34f(left.projectionMatrix);
    const cv::Matx34d rightProjection = cv::Matx34f(right.projectionMatrix);
    return {leftProjection(0, 0),
            -rightProjection(0, 3) / leftProjection(0, 0),
            leftProjection(0, 2) - rightProjection(0, 2)};
}

} // namespace vision::toolkit
