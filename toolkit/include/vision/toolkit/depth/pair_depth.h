// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_DEPTH_PAIR_DEPTH_H
#define VISION_TOOLKIT_DEPTH_PAIR_DEPTH_H

#include <vision/toolkit/input/image_pair.h>
#include <vision/toolkit/matching/search_range.h>

#include <opencv2/core/mat.hpp>

#include <optional>

namespace vision::toolkit {

/// What one pair of images gives.
struct PairDepth
{
    cv::Mat left;        ///< rectified image as it is shown, `CV_8UC1` or `CV_8UC3`
    cv::Mat right;       ///< of the same size; may differ in type
    cv::Mat leftGrey;    ///< as it was matched, `CV_8UC1`
    cv::Mat rightGrey;   ///< of the same size
    cv::Mat disparity;   ///< `CV_32FC1`, px; +infinity where nothing was matched
    cv::Mat unsearched;  ///< `CV_8UC1`, 255 where no match could be looked for, otherwise 0
    cv::Mat levels;      ///< as Matches::levels; empty unless dense
    cv::Mat points;      ///< `CV_32FC3`, (0, 0, 0) where none can be trusted; empty without calibrations
    SearchRange range{}; ///< what was searched
    double maxDepth = 0; ///< where points end, m; 0 without calibrations
    std::optional<DepthScale> scale; ///< of disparities of this size; none without calibrations
    Notes notes;                     ///< what happened on the way; see judge() for what the result says
};

} // namespace vision::toolkit

#endif
