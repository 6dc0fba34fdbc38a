// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_DEPTH_PAIR_VERDICT_H
#define VISION_TOOLKIT_SRC_DEPTH_PAIR_VERDICT_H

#include <vision/toolkit/depth/depth_pipeline.h>

#include <functional>

namespace vision::toolkit {

/// Adds what single points, which are looked for without any range, and the matches say about a pair and
/// about the way it was computed; a matcher finds something all the same.
/// @param raw the images before they were rectified
/// @param asked what of the range was given
/// @param exchange rectifies the pair with left and right exchanged; called for images that share hardly
/// anything
void judgePair(const RawPair& raw, bool isRectifiedInput, const RangeSettings& asked,
               const std::function<ImagePair()>& exchange, DepthResult& depth);

} // namespace vision::toolkit

#endif
