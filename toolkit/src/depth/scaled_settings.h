// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_DEPTH_SCALED_SETTINGS_H
#define VISION_TOOLKIT_SRC_DEPTH_SCALED_SETTINGS_H

#include <vision/toolkit/matching/matcher.h>

namespace vision::toolkit {

/// The settings for images that are smaller than those which the given ones hold for, so that they mean the
/// same.
/// @param factor width of the images over the width that the settings hold for, at most 1
MatcherSettings scaleTo(const MatcherSettings& settings, double factor);

} // namespace vision::toolkit

#endif
