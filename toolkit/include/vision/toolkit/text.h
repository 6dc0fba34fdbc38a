// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_TEXT_H
#define VISION_TOOLKIT_TEXT_H

#include <vision/toolkit/export.h>

#include <opencv2/core/types.hpp>

#include <string>

namespace vision::toolkit {

/// A number with so many digits after the point, whatever the locale.
VISION_TOOLKIT_EXPORT std::string formatFixed(double value, int digits);

/// "640 x 480".
VISION_TOOLKIT_EXPORT std::string formatSize(const cv::Size& size);

} // namespace vision::toolkit

#endif
