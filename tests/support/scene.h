// SPDX-License-Identifier: Apache-2.0
/// A scene of known geometry: a textured plane, photographed by a calibrated pair.
#ifndef SUPPORT_SCENE_H
#define SUPPORT_SCENE_H

#include "support/calibrations.h"

#include <opencv2/imgproc.hpp>

namespace support {

/// The plane Z = distance + slope * X in the frame of the rectified left camera.
struct Plane
{
    double distance;
    double slope;

    /// Depth seen by a camera shifted along X, in the direction X / Z = tangent.
    double depth(double tangent, double shift = 0) const
    {
        return (distance + slope * shift) / (1 - slope * tangent);
    }
};

/// Smooth noise, so that matching finds fractions of a pixel, coarse and fine, for pictures of any size.
inline cv::Mat makeTexture()
{
    constexpr int edge = 1024;
    cv::Mat texture(edge, edge, CV_32FC1, cv::Scalar(0));
    cv::RNG random(7);
    for (const int grain : {2, 4, 8}) {
        cv::Mat noise(edge / grain, edge / grain, CV_32FC1);
        random.fill(noise, cv::RNG::UNIFORM, 0, 1);
        cv::resize(noise, noise, texture.size(), 0, 0, cv::INTER_CUBIC);
        texture += noise;
    }
    cv::normalize(texture, texture, 0, 255, cv::NORM_MINMAX, CV_8U);
    return texture;
}

/// The raw (distorted, unrectified) picture that a camera of the pair takes of the plane.
inline cv::Mat photograph(const Plane& plane, const vision::Calibration& camera)
{
    const cv::Matx34f p = camera.projectionMatrix;
    const double shift = -static_cast<double>(p(0, 3)) / p(0, 0);
    const double texelsPerUnit = 0.7 * p(0, 0) / plane.distance;

    cv::Mat pixels(camera.height, camera.width, CV_32FC2);
    pixels.forEach<cv::Point2f>([](cv::Point2f& pixel, const int* at) {
        pixel = {static_cast<float>(at[1]), static_cast<float>(at[0])};
    });
    cv::Mat rays;
    cv::undistortPoints(pixels.reshape(2, pixels.rows * pixels.cols),
                        rays,
                        camera.cameraMatrix,
                        camera.distortion,
                        camera.rectificationMatrix);
    rays = rays.reshape(2, pixels.rows);
    rays.forEach<cv::Point2f>([&](cv::Point2f& ray, const int*) {
        const double z = plane.depth(ray.x, shift);
        ray = {static_cast<float>((ray.x * z + shift) * texelsPerUnit) + 512,
               static_cast<float>(ray.y * z * texelsPerUnit) + 512};
    });
    cv::Mat picture;
    cv::remap(makeTexture(), picture, rays, cv::noArray(), cv::INTER_LINEAR, cv::BORDER_WRAP);
    return picture;
}

} // namespace support

#endif
