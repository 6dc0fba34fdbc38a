// SPDX-License-Identifier: Apache-2.0
/// Calibrations with known values, and the pipeline with its non-public members in reach.
#ifndef SUPPORT_CALIBRATIONS_H
#define SUPPORT_CALIBRATIONS_H

#include <vision/stereo.h>

#include <opencv2/calib3d.hpp>

namespace support {

inline constexpr auto matrixFields = {&vision::Calibration::cameraMatrix,
                                      &vision::Calibration::distortion,
                                      &vision::Calibration::rectificationMatrix,
                                      &vision::Calibration::projectionMatrix}; // in the order of declaration

struct CalibrationPair
{
    vision::Calibration left, right;
};

inline constexpr float baseline = 0.12f;

/// A camera of no special symmetry: every entry differs from the others and from the other camera's.
/// @param side 0 for the left camera, 1 for the right one
inline vision::Calibration makeCalibration(int width, int height, float side)
{
    const float u = static_cast<float>(width) / 640;
    vision::Calibration c;
    c.width = width;
    c.height = height;
    float camera[3][3] = {
        {(520 - 9 * side) * u, 0, (318 + 7 * side) * u},
        {0, (517 - 5 * side) * u, (243 - 4 * side) * u},
        {0, 0, 1},
    };
    c.cameraMatrix = cv::Mat(3, 3, CV_32FC1, camera).clone();
    c.distortion = (cv::Mat_<float>(1, 5) << -0.08f + 0.01f * side, 0.03f, 0.001f, -0.0007f, 0.01f);
    cv::Rodrigues(cv::Matx31f(0.01f - 0.015f * side, -0.02f, 0.005f), c.rectificationMatrix);
    float projection[3][4] = {
        {500 * u, 0, (310 - 8 * side) * u, 0 - 500 * u * baseline * side},
        {0, 505 * u, 240 * u, 0},
        {0, 0, 1, 0},
    };
    c.projectionMatrix = cv::Mat(3, 4, CV_32FC1, projection).clone();
    return c;
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
