// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_MATCHING_RECTIFIED_PAIR_H
#define VISION_TOOLKIT_MATCHING_RECTIFIED_PAIR_H

#include <opencv2/core/mat.hpp>

namespace vision::toolkit {

/// Two images whose corresponding points lie on the same row.
struct RectifiedPair
{
    cv::Mat left;       ///< `CV_8UC1`
    cv::Mat right;      ///< `CV_8UC1`, of the same size
    cv::Mat leftValid;  ///< `CV_8UC1`, 0 where the image shows nothing; empty when all of it is valid
    cv::Mat rightValid; ///< the same for the right image
};

} // namespace vision::toolkit

#endif
