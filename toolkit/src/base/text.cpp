// SPDX-License-Identifier: Apache-2.0
#include "base/text.h"

#include <fmt/format.h>

namespace vision::toolkit {

std::string formatSize(const cv::Size& size)
{
    return fmt::format("{} x {}", size.width, size.height);
}

} // namespace vision::toolkit
