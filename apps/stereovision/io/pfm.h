#ifndef TOOL_IO_PFM_H
#define TOOL_IO_PFM_H

#include <opencv2/core/mat.hpp>

#include <string>

namespace tool {

/// Encodes a `CV_32FC1` image as portable float map: little endian, the bottom row first.
std::string encodePfm(const cv::Mat& image);

} // namespace tool

#endif
