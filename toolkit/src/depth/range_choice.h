// SPDX-License-Identifier: Apache-2.0
/// Which disparities a pair is searched for.
#ifndef VISION_TOOLKIT_SRC_DEPTH_RANGE_CHOICE_H
#define VISION_TOOLKIT_SRC_DEPTH_RANGE_CHOICE_H

#include <vision/toolkit/depth/depth_pipeline.h>
#include <vision/toolkit/depth/rig.h>
#include <vision/toolkit/matching/search_range.h>

#include <optional>

namespace vision::toolkit {

/// @throws Failure when a value is out of range, contradicts another one or needs calibrations that are
/// missing
void requireValid(const RangeSettings& range, const std::optional<double>& maxDepth, const Rig& rig);

/// Whether both ends are given.
bool isComplete(const RangeSettings& range);

/// The range in images of that width.
/// @param span what was found in images, for what is not given
/// @throws Failure when nothing can be searched
SearchRange chooseRange(const RangeSettings& range, const DisparityRange& span, const Rig& rig, int width);

} // namespace vision::toolkit

#endif
