// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_MATCHING_SEARCH_RANGE_H
#define VISION_TOOLKIT_MATCHING_SEARCH_RANGE_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/records/inspection.h>

#include <optional>
#include <vector>

namespace vision::toolkit {

/// The disparities that a matcher searches, in px of the images as matched.
struct SearchRange
{
    int minDisparity; ///< the smallest one
    int disparities;  ///< their number, a positive multiple of 16

    int maxDisparity() const { return minDisparity + disparities - 1; }
};

inline bool operator==(const SearchRange& a, const SearchRange& b)
{
    return a.minDisparity == b.minDisparity && a.disparities == b.disparities;
}

/// The disparities that occur in a scene, in px of images of a certain width.
struct DisparityRange
{
    double lowest;
    double highest;
    int width; ///< px
};

/// The span of what lies between two depths.
/// @param nearest,farthest depths, 0 < nearest <= farthest; the farthest may be infinite
/// @param width of the images that the scale holds for, px
VISION_TOOLKIT_EXPORT DisparityRange rangeBetween(double nearest, double farthest, const DepthScale& scale,
                                                  int width);

/// The smallest range that covers a span in images of the given width.
///
/// It leaves out what would lie outside the other image, and what the matchers cannot express (beyond 2047
/// px).
/// @throws Failure when nothing is left
VISION_TOOLKIT_EXPORT SearchRange toSearchRange(const DisparityRange& span, int width);

/// The span that holds all of them, whatever their widths, in px of the first one's.
/// @return nothing when there are none
VISION_TOOLKIT_EXPORT std::optional<DisparityRange> join(const std::vector<DisparityRange>& spans);

} // namespace vision::toolkit

#endif
