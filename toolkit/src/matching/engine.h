// SPDX-License-Identifier: Apache-2.0
/// One run of one of the core's matchers.
#ifndef VISION_TOOLKIT_SRC_MATCHING_ENGINE_H
#define VISION_TOOLKIT_SRC_MATCHING_ENGINE_H

#include <vision/toolkit/matching/matcher.h>
#include <vision/toolkit/matching/search_range.h>

#include <opencv2/core/mat.hpp>

namespace vision::toolkit {

/// Matches each pixel of the left image in one direction.
/// @param left,right `CV_8UC1` of the same size, not empty
/// @param settings complete
/// @return `CV_32FC1`, px; +infinity where nothing was matched
cv::Mat matchOneWay(const cv::Mat& left, const cv::Mat& right, const SearchRange& range,
                    const MatcherSettings& settings);

/// Where no match can be looked for: `CV_8UC1`, 255 there, otherwise 0.
cv::Mat findUnsearched(const cv::Size& size, const SearchRange& range);

} // namespace vision::toolkit

#endif
