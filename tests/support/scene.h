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

/// Smooth noise: neighbouring texels resemble each other, so that matching finds fractions of a pixel.
inline cv::Mat makeTexture()
{
    cv::Mat texture(1024, 1024, CV_8UC1);
    cv::RNG(7).fill(texture, cv::RNG::UNIFORM, 0, 256);
    cv::GaussianBlur(texture, texture, cv::Size(), 1.2, 1.2, cv::BORDER_WRAP);
    cv::normalize(texture, texture, 0, 255, cv::NORM_MINMAX);
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
    cv::undistortPoints(pixels.reshape(2, pixels.rows * pixels.cols), rays, camera.cameraMatrix,
                        camera.distortion, camera.rectificationMatrix);
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
