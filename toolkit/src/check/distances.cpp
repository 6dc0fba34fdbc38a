// SPDX-License-Identifier: Apache-2.0
#include "check/distances.h"

#include <vision/toolkit/depth/rig.h>

#include <opencv2/core.hpp>

namespace vision::toolkit {

Triangulation::Triangulation(const CalibrationPair& calibrations)
    : _left(calibrations.left.projectionMatrix), _right(calibrations.right.projectionMatrix),
      _scale(*findDepthScale(makeRig(calibrations), calibrations.left.width))
{
}

cv::Vec3d Triangulation::operator()(const FeatureMatch& match) const
{
    const double f = double{_left(0, 0)};
    const double z = _scale.depthAt(match.left.x - match.right.x);
    return {(match.left.x - double{_left(0, 2)}) * z / f, (match.left.y - double{_left(1, 2)}) * z / f, z};
}

std::vector<double> measureEdges(const std::vector<BoardEdge>& edges, const Triangulation& triangulate)
{
    std::vector<double> ratios;
    ratios.reserve(edges.size());
    for (const BoardEdge& edge : edges) {
        ratios.push_back(cv::norm(triangulate(edge.first) - triangulate(edge.second)) / edge.length);
    }
    return ratios;
}

} // namespace vision::toolkit
