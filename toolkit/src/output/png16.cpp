// SPDX-License-Identifier: Apache-2.0
#include "output/png16.h"

#include <vision/toolkit/output/pictures.h>

#include <opencv2/core.hpp>

#include <cmath>
#include <cstdint>
#include <limits>

namespace vision::toolkit {

EncodedImage encodePng16(const cv::Mat& image, float factor, float none)
{
    CV_Assert(image.type() == CV_32FC1);
    constexpr float largest = std::numeric_limits<std::uint16_t>::max();
    cv::Mat whole(image.size(), CV_16UC1);
    std::size_t unfit = 0;
    for (int row = 0; row < image.rows; ++row) {
        const auto* values = image.ptr<float>(row);
        auto* numbers = whole.ptr<std::uint16_t>(row);
        for (int column = 0; column < image.cols; ++column) {
            const float number = std::floor(values[column] * factor + 0.5F);
            const bool fits = number >= 1 && number <= largest;
            const bool isValue = std::isfinite(values[column]) && values[column] != none;
            numbers[column] = fits ? static_cast<std::uint16_t>(number) : std::uint16_t{0};
            unfit += isValue && !fits ? 1U : 0U;
        }
    }
    return {encodePng(whole), unfit};
}

} // namespace vision::toolkit
