/// Calibrations with known values, and the pipeline with its non-public members in reach.
#ifndef SUPPORT_CALIBRATIONS_H
#define SUPPORT_CALIBRATIONS_H

#include <vision/stereo.h>

#include <opencv2/calib3d.hpp>

#include <array>

namespace support {

struct CalibrationPair
{
    vision::Calibration left;
    vision::Calibration right;
};

/// In the order of declaration.
constexpr std::array<cv::Mat vision::Calibration::*, 4> matrixFields{
    &vision::Calibration::cameraMatrix, &vision::Calibration::distortion,
    &vision::Calibration::rectificationMatrix, &vision::Calibration::projectionMatrix};

constexpr float baseline = 0.12f;

/// A camera of no special symmetry: every entry differs from the others and from the other camera's.
/// @param side 0 for the left camera, 1 for the right one
inline vision::Calibration makeCalibration(int width, int height, float side)
{
    const float unit = static_cast<float>(width) / 640;
    const float f = 500 * unit;
    vision::Calibration calibration;
    calibration.width = width;
    calibration.height = height;
    calibration.cameraMatrix =
        (cv::Mat_<float>(3, 3) << (520 - 9 * side) * unit, 0, (318 + 7 * side) * unit, //
         0, (517 - 5 * side) * unit, (243 - 4 * side) * unit,                          //
         0, 0, 1);
    calibration.distortion = (cv::Mat_<float>(1, 5) << -0.08f + 0.01f * side, 0.03f, 0.001f, -0.0007f, 0.01f);
    cv::Rodrigues(cv::Matx31f(0.01f - 0.015f * side, -0.02f, 0.005f), calibration.rectificationMatrix);
    calibration.projectionMatrix =
        (cv::Mat_<float>(3, 4) << f, 0, (310 - 8 * side) * unit, 0 - f * baseline * side, //
         0, 505 * unit, 240 * unit, 0,                                                    //
         0, 0, 1, 0);
    return calibration;
}

inline CalibrationPair makeCalibrations(int width = 640, int height = 480)
{
    return {makeCalibration(width, height, 0), makeCalibration(width, height, 1)};
}

/// Gives tests a look at the calibrations and the cache.
struct OpenStereo : vision::Stereo
{
    OpenStereo() = default;
    explicit OpenStereo(const CalibrationPair& pair) { setCalibrations(pair.left, pair.right); }

    using Stereo::_imageTransforms;
    using Stereo::_leftCalibration;
    using Stereo::_rightCalibration;
};

} // namespace support

#endif
