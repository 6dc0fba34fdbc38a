#ifndef VISION_TOOLKIT_OUTPUT_PICTURES_H
#define VISION_TOOLKIT_OUTPUT_PICTURES_H

#include <vision/toolkit/export.h>

#include <opencv2/core/mat.hpp>

#include <functional>

namespace vision::toolkit {

/// Draws both rectified images side by side with lines along the rows, on which corresponding points lie.
/// @param left,right `CV_8UC1` or `CV_8UC3` of the same size
/// @return `CV_8UC3`, twice as wide
VISION_TOOLKIT_EXPORT cv::Mat drawRectifiedPair(const cv::Mat& left, const cv::Mat& right);

/// Draws a disparity image in colour, blue for far to red for near, with a scale in px and m on its right.
///
/// The colours span the disparities of the picture except for the outermost percent at both ends; pixels
/// without a match are black.
/// @param disparity `CV_32FC1`, px; +infinity where nothing was matched
/// @param depthAt the depth in m of a disparity in px
/// @return `CV_8UC3`, wider than the disparity and, if that is very low, higher
VISION_TOOLKIT_EXPORT cv::Mat drawDisparity(const cv::Mat& disparity,
                                            const std::function<double(double)>& depthAt);

} // namespace vision::toolkit

#endif
