// SPDX-License-Identifier: Apache-2.0
/// @file
/// Whether corresponding points of rectified images lie on the same row.
#ifndef VISION_TOOLKIT_TRUST_ROW_OFFSETS_H
#define VISION_TOOLKIT_TRUST_ROW_OFFSETS_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/trust/feature_matches.h>

#include <cstddef>

namespace vision::toolkit {

/// How far the rows of a rectified pair are off. On a good calibration the median is within 0.2 px and the
/// spread, which the measurement itself has, 0.15 to 0.4 px.
struct RowOffsets
{
    double median; ///< row of the right image minus that of the left one, px; NaN when nothing was matched
    double
        /// px: 1.48 times the median distance from the median, the standard deviation if it were normal
        spread;
    std::size_t matched;
    std::size_t features; ///< of those, so many were looked for
    double behind;        ///< share of the matched ones that lie behind the cameras, as in swapped images
};

/// @param atInfinity disparity of points at infinity, px
VISION_TOOLKIT_EXPORT RowOffsets summariseRows(const FeatureMatches& features, double atInfinity);

} // namespace vision::toolkit

#endif
