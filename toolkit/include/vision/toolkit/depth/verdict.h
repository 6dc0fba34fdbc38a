// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_DEPTH_VERDICT_H
#define VISION_TOOLKIT_DEPTH_VERDICT_H

#include <vision/toolkit/depth/pair_depth.h>
#include <vision/toolkit/depth/summary.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/note.h>

namespace vision::toolkit {

/// What the result of a pair says about the way it was computed, each with the way out:
/// - "range-ends-too-early": matches pile up at the largest disparity, so there are nearer things
/// - "range-starts-too-late": matches pile up at the smallest disparity, so there are farther things
/// - "few-matches": hardly any pixel is matched
/// - "beyond-largest-depth": much of what is matched is farther than the largest depth
VISION_TOOLKIT_EXPORT Notes judge(const PairDepth& depth, const DepthSummary& summary);

} // namespace vision::toolkit

#endif
