// SPDX-License-Identifier: Apache-2.0
/// Matching at a fraction of the size.
#ifndef VISION_TOOLKIT_SRC_MATCHING_PYRAMID_H
#define VISION_TOOLKIT_SRC_MATCHING_PYRAMID_H

#include <vision/toolkit/matching/matcher.h>

namespace vision::toolkit {

/// The pair at 1/factor of its size, averaged; a pixel is valid where all that it covers is.
RectifiedPair shrink(const RectifiedPair& pair, int factor);

/// The range that covers the same disparities at 1/factor of the size.
SearchRange shrink(const SearchRange& range, int factor);

/// A disparity image at a larger size. Inside smooth surfaces it is interpolated, elsewhere each pixel takes
/// what covers it.
/// @param disparity `CV_32FC1`, px; +infinity where nothing was matched
/// @return `CV_32FC1`, in px of the larger size
cv::Mat enlarge(const cv::Mat& disparity, const cv::Size& size);

} // namespace vision::toolkit

#endif
