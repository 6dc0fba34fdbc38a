// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_BASE_TEXT_H
#define VISION_TOOLKIT_SRC_BASE_TEXT_H

#include <opencv2/core/types.hpp>

#include <string>

namespace vision::toolkit {

/// "640 x 480".
std::string formatSize(const cv::Size& size);

} // namespace vision::toolkit

#endif
