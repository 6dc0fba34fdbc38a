// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_DEPTH_DEPTH_SETTINGS_H
#define VISION_TOOLKIT_DEPTH_DEPTH_SETTINGS_H

#include <vision/toolkit/matching/settings.h>

#include <optional>

namespace vision::toolkit {

/// What of the range is given; the images tell the rest. An end is given in one way or the other, not in
/// both.
struct RangeSettings
{
    std::optional<double> nearest;   ///< depth of the nearest thing, m
    std::optional<double> farthest;  ///< depth of the farthest thing, m
    std::optional<int> minDisparity; ///< smallest disparity searched, px of the rig's size
    std::optional<int> disparities;  ///< number of disparities searched, px of the rig's size
};

/// How the depth of pairs is computed.
struct DepthSettings
{
    /// What is given of it in px holds for the rig's size, the defaults at any size.
    MatcherSettings matcher;

    RangeSettings range;

    /// Points farther away are left out, m. Unless given, it is the farthest depth or that of the smallest
    /// disparity searched; with plain, 5.
    std::optional<double> maxDepth;

    /// Do exactly what the methods of `vision::Stereo` do, with bm or sgbm: their parameters and their range
    /// (from the given disparities and the largest depth), one way, over the width that they search.
    bool plain = false;
};

} // namespace vision::toolkit

#endif
