// SPDX-License-Identifier: Apache-2.0
/// @file
/// Whether the searched range holds what is in the images.
#ifndef VISION_TOOLKIT_SRC_FEATURES_RANGE_VERDICT_H
#define VISION_TOOLKIT_SRC_FEATURES_RANGE_VERDICT_H

#include <vision/toolkit/features/row_offsets.h>
#include <vision/toolkit/matching/search_range.h>
#include <vision/toolkit/note.h>

namespace vision::toolkit {

/// What single points, which were looked for without any range, say about the range:
/// - "range-ends-too-early": a tenth of the points and more is nearer than what is searched
/// - "range-starts-too-late": a tenth and more is farther
///
/// A matcher that searches the wrong range finds something all the same, and may even confirm it both ways.
Notes judgeRange(const FeatureMatches& features, const SearchRange& range);

} // namespace vision::toolkit

#endif
