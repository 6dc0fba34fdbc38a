// SPDX-License-Identifier: Apache-2.0
/// What the matchers can search.
#ifndef VISION_TOOLKIT_SRC_MATCHING_RANGE_CHECKS_H
#define VISION_TOOLKIT_SRC_MATCHING_RANGE_CHECKS_H

#include <vision/toolkit/matching/search_range.h>

namespace vision::toolkit {

/// The smallest range that holds both disparities, whole numbers.
SearchRange coverDisparities(double lowest, double highest);

/// @throws Failure unless the number is a positive multiple of 16 and the disparities are below 2047 px
void requireSearchable(const SearchRange& range);

} // namespace vision::toolkit

#endif
