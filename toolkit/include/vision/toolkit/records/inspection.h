// SPDX-License-Identifier: Apache-2.0
/// @file
/// What a calibration means for its user.
/// What makes calibrations unusable or doubtful, in plain words.
#ifndef VISION_TOOLKIT_RECORDS_INSPECTION_H
#define VISION_TOOLKIT_RECORDS_INSPECTION_H

#include <vision/calibration.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/note.h>

#include <opencv2/core/types.hpp>

#include <vector>

namespace vision::toolkit {

/// One camera. Its calibration must be without faults.
struct CameraFacts
{
    cv::Size size;              ///< px
    cv::Point2d focalLength;    ///< along x and y, px
    cv::Point2d principalPoint; ///< px
    cv::Point2d fieldOfView;    ///< horizontally and vertically, without distortion, degrees
    std::vector<double> distortion;
};

VISION_TOOLKIT_EXPORT CameraFacts describeCamera(const Calibration& calibration);

/// Relates disparity and depth of a rectified pair: Z = f B / (d - d0).
struct DepthScale
{
    double focalLength; ///< f, px
    double baseline;    ///< B, in the unit of the depth: m in files of ours
    double atInfinity;  ///< d0, the disparity at infinity: cx of the left minus cx of the right image, px

    /// Infinite or negative where no point can be.
    [[nodiscard]] double depthAt(double disparity) const
    {
        return focalLength * baseline / (disparity - atInfinity);
    }
    [[nodiscard]] double disparityAt(double depth) const
    {
        return atInfinity + focalLength * baseline / depth;
    }

    /// How much the depth changes with the disparity, dZ = Z^2 / (f B) dd.
    [[nodiscard]] double depthError(double depth, double disparityError) const
    {
        return depth * depth / (focalLength * baseline) * disparityError;
    }

    /// The same for images that are larger by that factor.
    [[nodiscard]] DepthScale scaled(double factor) const
    {
        return {focalLength * factor, baseline, atInfinity * factor};
    }
};

/// For images of the size of the calibrations, which must be without faults.
VISION_TOOLKIT_EXPORT DepthScale findDepthScale(const Calibration& left, const Calibration& right);

/// The longest side of an image that a calibration may be for, px: OpenCV's filter of speckles keeps
/// coordinates in 16 bits with a sign.
inline constexpr int longestSide = 32767;

/// What is wrong with the calibration of one camera, each with the way out. Empty if it can be used.
///
/// All are Wrong. Codes: "size", "camera-matrix", "projection-matrix", "no-rotation", "distortion",
/// "focal-length".
VISION_TOOLKIT_EXPORT Notes findFaults(const Calibration& calibration);

/// What keeps two calibrations without faults of their own from being those of a left and a right camera that
/// were calibrated together, each with the way out. Empty if they can be used.
///
/// All are Wrong. Codes: "sizes-differ", "swapped", "left-translated", "same-camera", "vertical",
/// "focal-lengths-differ", "principal-points-differ", "rows-differ".
VISION_TOOLKIT_EXPORT Notes findPairFaults(const Calibration& left, const Calibration& right);

/// What is unlikely in a calibration without faults: most often numbers that belong to another image size, or
/// a fit to too little.
///
/// All are Doubtful. Codes: "pixels-not-square" (fx and fy differ), "principal-point" (far from the middle),
/// "field-of-view" (hardly any or nearly a half sphere), "rectified-focal-length" (unlike the camera's),
/// "hardly-covered" (the rectified image shows hardly anything), "folded-distortion" (the model maps two
/// directions to one point inside the image). docs/calibrating.md has the limits.
VISION_TOOLKIT_EXPORT Notes findDoubts(const Calibration& calibration);

/// What is unlikely in two calibrations without faults: the code "baseline", for lengths in another unit.
VISION_TOOLKIT_EXPORT Notes findPairDoubts(const Calibration& left, const Calibration& right);

} // namespace vision::toolkit

#endif
