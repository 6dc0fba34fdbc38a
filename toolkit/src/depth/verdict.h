// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_DEPTH_VERDICT_H
#define VISION_TOOLKIT_SRC_DEPTH_VERDICT_H

#include <vision/toolkit/depth/depth_pipeline.h>

namespace vision::toolkit {

/// What the matches of a pair say about the way it was computed: "range-ends-too-early",
/// "range-starts-too-late", "few-matches", "beyond-largest-depth".
Notes judge(const DepthResult& depth);

} // namespace vision::toolkit

#endif
