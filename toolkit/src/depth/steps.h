// SPDX-License-Identifier: Apache-2.0
/// The steps of a pair's way from images to points.
#ifndef VISION_TOOLKIT_SRC_DEPTH_STEPS_H
#define VISION_TOOLKIT_SRC_DEPTH_STEPS_H

#include <vision/stereo.h>
#include <vision/toolkit/depth/depth_pipeline.h>
#include <vision/toolkit/depth/rig.h>

namespace vision::toolkit {

/// @throws Failure unless the images are at most as wide as the calibration, in its aspect ratio
void requireFittingSize(const cv::Size& image, const cv::Size& calibration);

/// Rectifies the images of a pair, both as they are matched and as they are shown.
/// @throws Failure as requireFittingSize()
ImagePair rectify(const vision::Stereo& stereo, const ImagePair& pair);

/// A result that holds the images only.
DepthResult makeResult(const ImagePair& rectified);

/// Matches a rectified pair and computes its points, with the methods of `vision::Stereo` alone.
/// @throws Failure telling what to change when the images do not fit the calibrations or the parameters
DepthResult computePlainDepth(const vision::Stereo& stereo, const ImagePair& rectified, const Rig& rig);

/// Gives a Stereo the rig's calibrations and what is set of its parameters.
/// @throws Failure when something is set that it does not have, or is out of range
void configurePlain(vision::Stereo& stereo, const Rig& rig, const DepthSettings& settings);

/// Gives a Stereo the rig's calibrations, to rectify and to compute points of any disparity.
void configureTransforms(vision::Stereo& stereo, const Rig& rig);

} // namespace vision::toolkit

#endif
