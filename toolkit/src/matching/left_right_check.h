// SPDX-License-Identifier: Apache-2.0
/// A matching of both images to each other.
#ifndef VISION_TOOLKIT_SRC_MATCHING_LEFT_RIGHT_CHECK_H
#define VISION_TOOLKIT_SRC_MATCHING_LEFT_RIGHT_CHECK_H

#include <vision/toolkit/matching/matcher.h>

namespace vision::toolkit {

/// Matches a pair with one of the core's matchers, both ways, and keeps what both say and what lies inside.
/// @param settings complete, of bm or sgbm
/// @return `CV_32FC1`, px; +infinity where nothing was matched
cv::Mat matchBlocks(const RectifiedPair& pair, const SearchRange& range, const MatcherSettings& settings);

/// Drops the matches of pixels and with pixels that show nothing or lie outside the image.
void dropOutside(cv::Mat& disparity, const RectifiedPair& pair);

} // namespace vision::toolkit

#endif
