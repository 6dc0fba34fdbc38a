// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_MATCHING_MATCHER_H
#define VISION_TOOLKIT_MATCHING_MATCHER_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/matching/rectified_pair.h>
#include <vision/toolkit/matching/search_range.h>
#include <vision/toolkit/matching/settings.h>

#include <opencv2/core/mat.hpp>

namespace vision::toolkit {

/// What matching gives for each pixel of the left image.
struct Matches
{
    cv::Mat disparity;  ///< `CV_32FC1`, px; +infinity where nothing was matched
    cv::Mat unsearched; ///< `CV_8UC1`, 255 where no match could be looked for, otherwise 0
    cv::Mat levels;     ///< `CV_8UC1`, dense only: 0 not matched, 1 at full size, 2 at half, 3 at a quarter
};

/// Matches a rectified pair, of any size.
///
/// Matches that lie outside the right image or where it shows nothing are dropped. Images too small for the
/// range or the window are no error: what cannot be searched is not matched.
/// @param threads how many threads may match at once, besides those that OpenCV uses itself; the result is
///        the same for any number
/// @throws Failure as withDefaults(), or when the images are no pair of `CV_8UC1` images of the same size
VISION_TOOLKIT_EXPORT Matches match(const RectifiedPair& pair, const SearchRange& range,
                                    const MatcherSettings& settings, int threads = 1);

} // namespace vision::toolkit

#endif
