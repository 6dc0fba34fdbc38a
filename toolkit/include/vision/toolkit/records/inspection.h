// SPDX-License-Identifier: Apache-2.0
/// @file
/// What a calibration means for its user.
/// What makes calibrations unusable, in plain words.
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

/// Both cameras together. Their calibrations must be without faults.
struct PairFacts
{
    double focalLength;              ///< of the rectified images, px
    double baseline;                 ///< in the unit of the calibration, m in files of ours
    double principalPointDifference; ///< cx of the left minus cx of the right rectified image, px

    /// Z = f B / (d - difference); infinite or negative where no point can be.
    [[nodiscard]] double depthOf(double disparity) const
    {
        return focalLength * baseline / (disparity - principalPointDifference);
    }

    /// How much the depth changes with the disparity, dZ = Z^2 / (f B) dd.
    [[nodiscard]] double depthError(double depth, double disparityError) const
    {
        return depth * depth / (focalLength * baseline) * disparityError;
    }
};

VISION_TOOLKIT_EXPORT PairFacts describePair(const Calibration& left, const Calibration& right);

/// What is wrong with the calibration of one camera, each with the way out. Empty if it can be used.
///
/// Codes: "size", "camera-matrix", "projection-matrix", "no-rotation", "distortion", "focal-length".
VISION_TOOLKIT_EXPORT Notes findFaults(const Calibration& calibration);

/// What keeps two calibrations without faults of their own from being those of a left and a right camera that
/// were calibrated together, each with the way out. Empty if they can be used.
///
/// Codes: "sizes-differ", "swapped", "left-translated", "same-camera", "vertical", "focal-lengths-differ",
/// "rows-differ".
VISION_TOOLKIT_EXPORT Notes findPairFaults(const Calibration& left, const Calibration& right);

} // namespace vision::toolkit

#endif
