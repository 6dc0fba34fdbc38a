// SPDX-License-Identifier: Apache-2.0
/// @file
/// Where the board was in a view, given a fit.
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_BOARD_POSE_H
#define VISION_TOOLKIT_SRC_CALIBRATION_BOARD_POSE_H

#include "calibration/pair_fit.h"

#include <vector>

namespace vision::toolkit {

/// The position of the board that fits both images best, and what remains.
struct BoardPose
{
    cv::Vec3d rotation;    ///< from the board to the left camera, axis times angle
    cv::Vec3d translation; ///< m
    Corners left;          ///< where the points of the view should be in the left image, px
    Corners right;
    double rmsLeft = 0; ///< px
    double rmsRight = 0;

    /// A point of the board in the frame of the left camera, m.
    [[nodiscard]] cv::Vec3d toCamera(const cv::Vec3d& point) const;

    /// px, of both images together
    [[nodiscard]] double rms() const;
};

BoardPose findPose(const PairFit& fit, const BoardView& view, const Board& board);

} // namespace vision::toolkit

#endif
