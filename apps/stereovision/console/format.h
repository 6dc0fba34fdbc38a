#ifndef TOOL_CONSOLE_FORMAT_H
#define TOOL_CONSOLE_FORMAT_H

#include <opencv2/core/types.hpp>

#include <string>

namespace tool {

/// A number with so many digits after the point, whatever the locale.
std::string formatFixed(double value, int digits);

/// "640 x 480".
std::string formatSize(const cv::Size& size);

} // namespace tool

#endif
