// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/depth/rig.h>

#include "records/checks.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/records/inspection.h>

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <cmath>
#include <utility>

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

void requireSize(const cv::Size& size)
{
    const auto fits = [](int length) { return 0 < length && length <= longestSide; };
    if (!fits(size.width) || !fits(size.height)) {
        throw Failure("image-size",
                      "",
                      fmt::format("images of {} x {} px cannot be used: their sides must be 1 to {} px",
                                  size.width,
                                  size.height,
                                  longestSide));
    }
}

/// Beyond these limits nothing is meant seriously, and numbers of single precision come to their ends.
void requireSensible(const RectifiedGeometry& geometry, const cv::Point2d& left, int width)
{
    constexpr double most = 1e6;
    const auto require = [](bool holds, const std::string& text) {
        if (!holds) {
            throw Failure("rectified-geometry", "", text);
        }
    };
    require(1 <= geometry.focalLength && geometry.focalLength <= most,
            fmt::format("the focal length of rectified images is {:g} px: it must be 1 to 1e6 px",
                        geometry.focalLength));
    require(1 / most <= geometry.baseline && geometry.baseline <= most,
            fmt::format("the baseline is {:g} m: it must be 1e-6 to 1e6 m", geometry.baseline));
    require(std::abs(left.x) <= most && std::abs(left.y) <= most,
            fmt::format("the principal point is {:g}, {:g} px: it must be within 1e6 px", left.x, left.y));
    require(std::abs(geometry.doffs) < width,
            fmt::format(
                "the principal points of rectified images are {:g} px apart (doffs): it must be less than "
                "the width of the images, {} px",
                geometry.doffs,
                width));
}

} // namespace

Rig::Rig(const cv::Size& theSize, bool rectified, std::optional<CalibrationPair> theCalibrations)
    : size(theSize), isRectified(rectified), calibrations(std::move(theCalibrations))
{
}

Rig makeRig(const CalibrationPair& calibrations)
{
    requireNone(findFaults(calibrations.left), "left calibration");
    requireNone(findFaults(calibrations.right), "right calibration");
    requireNone(findPairFaults(calibrations.left, calibrations.right), "calibrations");
    return {{calibrations.left.width, calibrations.left.height}, false, calibrations};
}

Rig makeRectifiedRig(const cv::Size& imageSize, const std::optional<RectifiedGeometry>& geometry)
{
    requireSize(imageSize);
    if (!geometry) {
        return {imageSize, true, std::nullopt};
    }
    const cv::Point2d left = geometry->principalPoint.value_or(
        cv::Point2d((imageSize.width - 1) / 2.0, (imageSize.height - 1) / 2.0));
    requireSensible(*geometry, left, imageSize.width);
    const cv::Point2d right(left.x + geometry->doffs, left.y);
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
    return findDepthScale(rig.calibrations->left, rig.calibrations->right)
        .scaled(static_cast<double>(width) / rig.size.width);
}

} // namespace vision::toolkit
