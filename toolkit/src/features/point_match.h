// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_FEATURES_POINT_MATCH_H
#define VISION_TOOLKIT_SRC_FEATURES_POINT_MATCH_H

#include <vision/toolkit/features/row_offsets.h>

#include <optional>

namespace vision::toolkit {

/// Finds a point of the left image in the right one as matchFeatures() finds corners.
/// @param point px; moves by up to half a pixel of the smallest image
/// @return nothing when it is not found, or several places fit
std::optional<FeatureMatch> matchPoint(const cv::Mat& left, const cv::Mat& right, const cv::Point2d& point);

} // namespace vision::toolkit

#endif
