// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_DEPTH_SUMMARY_H
#define VISION_TOOLKIT_SRC_DEPTH_SUMMARY_H

#include <vision/toolkit/depth/depth_pipeline.h>

namespace vision::toolkit {

/// @param disparity `CV_32FC1`, px; +infinity where nothing was matched
/// @param points `CV_32FC3` of the same size, or empty
DepthSummary summarise(const cv::Mat& disparity, const cv::Mat& points);

} // namespace vision::toolkit

#endif
