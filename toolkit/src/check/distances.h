// SPDX-License-Identifier: Apache-2.0
/// @file
/// Lengths that the calibration measures, against known ones.
#ifndef VISION_TOOLKIT_SRC_CHECK_DISTANCES_H
#define VISION_TOOLKIT_SRC_CHECK_DISTANCES_H

#include <vision/toolkit/check/correction.h>
#include <vision/toolkit/matching/search_range.h>

#include <opencv2/core/matx.hpp>

#include <vector>

namespace vision::toolkit {

/// Where points of rectified images are in space.
class Triangulation
{
public:
    explicit Triangulation(const CalibrationPair& calibrations);

    /// In the frame of the rectified left camera, m; not finite at infinity.
    [[nodiscard]] cv::Vec3d operator()(const FeatureMatch& match) const;

    [[nodiscard]] const cv::Matx34f& left() const { return _left; }
    [[nodiscard]] const cv::Matx34f& right() const { return _right; }

private:
    cv::Matx34f _left;
    cv::Matx34f _right;
    DepthScale _scale;
};

/// Measured over printed length of all edges of a board.
std::vector<double> measureEdges(const std::vector<BoardEdge>& edges, const Triangulation& triangulate);

} // namespace vision::toolkit

#endif
