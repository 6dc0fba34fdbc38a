// SPDX-License-Identifier: Apache-2.0
/// @file
/// Single points that are found in both images without trusting the calibration.
/// Whether corresponding points of rectified images lie on the same row.
#ifndef VISION_TOOLKIT_FEATURES_ROW_OFFSETS_H
#define VISION_TOOLKIT_FEATURES_ROW_OFFSETS_H

#include <vision/toolkit/export.h>

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <cstddef>
#include <limits>
#include <vector>

namespace vision::toolkit {

/// The same point of the scene in both images, px.
struct FeatureMatch
{
    cv::Point2d left;
    cv::Point2d right;
};

struct FeatureMatches
{
    std::vector<FeatureMatch> matches;
    std::size_t features = 0;  ///< corners of the left image that were looked for in the right one
    std::size_t ambiguous = 0; ///< of those, so many fit several places equally well, as in repeated patterns
};

/// Finds corners of the left image in the right one.
///
/// Corners of a copy about 200 px wide are compared by normalised correlation with everything up to 60 % of
/// the width away on either side and 3 % above and below; the best place counts if it is clearly better than
/// all others, and is then refined from size to size to about a tenth of a pixel.
/// @param left,right roughly rectified, `CV_8UC1`, of the same size
/// @param most corners that are looked for at most
VISION_TOOLKIT_EXPORT FeatureMatches matchFeatures(const cv::Mat& left, const cv::Mat& right, int most = 250);

/// How far the rows of a rectified pair are off. On a good calibration the median is within 0.2 px and the
/// spread, which the measurement itself has, 0.15 to 0.4 px.
struct RowOffsets
{
    /// Row of the right image minus that of the left one, px; NaN when nothing was matched.
    double median = std::numeric_limits<double>::quiet_NaN();
    /// 1.48 times the median distance from the median, the standard deviation if it were normal, px.
    double spread = std::numeric_limits<double>::quiet_NaN();
    std::size_t matched = 0;
    std::size_t features = 0;  ///< of those, so many were looked for
    std::size_t ambiguous = 0; ///< of the latter, so many fit several places equally well
    double behind = 0; ///< share of the matched ones that lie behind the cameras, as in swapped images
};

/// @param atInfinity disparity of points at infinity, px
VISION_TOOLKIT_EXPORT RowOffsets summariseRows(const FeatureMatches& features, double atInfinity);

} // namespace vision::toolkit

#endif
