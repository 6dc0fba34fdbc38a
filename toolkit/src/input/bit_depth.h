// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_INPUT_BIT_DEPTH_H
#define VISION_TOOLKIT_SRC_INPUT_BIT_DEPTH_H

#include <vision/toolkit/input/images.h>

#include <string>
#include <vector>

namespace vision::toolkit {

/// The largest value of any channel but alpha.
double findBrightest(const cv::Mat& image);

/// The bits that a sequence of image files has, by a few of its pairs. Files that cannot be read say so when
/// their turn comes.
/// @return 0 when no channel has more than 8
int findBitDepth(const std::vector<PairNames>& pairs, const ImageLimits& limits);

} // namespace vision::toolkit

#endif
