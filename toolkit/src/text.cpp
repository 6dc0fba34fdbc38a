// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/text.h>

#include <locale>
#include <sstream>

namespace vision::toolkit {

std::string formatFixed(double value, int digits)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(digits);
    text << std::fixed << value;
    return text.str();
}

std::string formatSize(const cv::Size& size)
{
    return std::to_string(size.width) + " x " + std::to_string(size.height);
}

} // namespace vision::toolkit
