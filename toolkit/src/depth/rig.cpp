// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/depth/rig.h>

#include <vision/toolkit/failure.h>

#include <opencv2/core.hpp>

#include <cmath>

namespace vision::toolkit {

namespace {

/// A camera without distortion that needs no rotation.
/// @param shift Tx of its projection matrix, px times the unit of the baseline
Calibration makeCamera(const cv::Size& size, double focalLength, const cv::Point2d& centre, double shift)
{
    Calibration camera;
    camera.width = size.width;
    camera.height = size.height;
    const cv::Matx34f projection(cv::Matx34d(focalLength,
                                             0,
                                             centre.x,
                                             shift, //
                                             0,
                                             focalLength,
                                             centre.y,
                                             0, //
                                             0,
                                             0,
                                             1,
                                             0));
    camera.projectionMatrix = cv::Mat(projection, true);
    camera.cameraMatrix = camera.projectionMatrix.colRange(0, 3).clone();
    return camera;
}

} // namespace

Rig makeRig(const CalibrationPair& calibrations)
{
    return {{calibrations.left.width, calibrations.left.height}, false, calibrations};
}

Rig makeRectifiedRig(const cv::Size& imageSize, const std::optional<RectifiedGeometry>& geometry)
{
    if (!geometry) {
        return {imageSize, true, std::nullopt};
    }
    const cv::Point2d left = geometry->principalPoint.value_or(
        cv::Point2d((imageSize.width - 1) / 2.0, (imageSize.height - 1) / 2.0));
    const cv::Point2d right(left.x + geometry->doffs, left.y);
    if (!(geometry->focalLength > 0 && geometry->baseline > 0 &&
          std::isfinite(geometry->focalLength * geometry->baseline) && std::isfinite(right.x) &&
          std::isfinite(right.y))) {
        throw Failure("focal length and baseline of rectified images must be positive, and all of their "
                      "geometry finite");
    }
    const double f = geometry->focalLength;
    return {imageSize,
            true,
            CalibrationPair{makeCamera(imageSize, f, left, 0),
                            makeCamera(imageSize, f, right, -f * geometry->baseline)}};
}

std::optional<DepthScale> findDepthScale(const Rig& rig, int width)
{
    if (!rig.calibrations) {
        return std::nullopt;
    }
    const cv::Mat_<float> left = rig.calibrations->left.projectionMatrix;
    const cv::Mat_<float> right = rig.calibrations->right.projectionMatrix;
    const double focalLength = double{left(0, 0)};
    const DepthScale scale{
        focalLength, -double{right(0, 3)} / focalLength, double{left(0, 2)} - double{right(0, 2)}};
    return scale.scaled(static_cast<double>(width) / rig.size.width);
}

} // namespace vision::toolkit
