// SPDX-License-Identifier: Apache-2.0
#include "matching/semi_global/noise.h"

#include <array>
#include <cstdint>
#include <cstdlib>

namespace vision::toolkit::semi_global {

namespace {

/// The response of (1 -2 1) in both directions.
int differTwice(const std::uint8_t* above, const std::uint8_t* here, const std::uint8_t* below, int x)
{
    const auto differ = [x](const std::uint8_t* row) { return row[x - 1] - 2 * row[x] + row[x + 1]; };
    return differ(above) - 2 * differ(here) + differ(below);
}

/// Clipped pixels show no noise.
bool showsNoise(int pixel)
{
    return 0 < pixel && pixel < 255;
}

} // namespace

int estimateNoise(const cv::Mat& image, const cv::Mat& valid)
{
    constexpr int rowsApart = 4; // a sample is enough
    constexpr int percentile = 20;
    std::array<int, 256> counts{}; // of responses
    int total = 0;
    for (int y = 1; y + 1 < image.rows; y += rowsApart) {
        const auto* const here = image.ptr<std::uint8_t>(y);
        const auto* const above = image.ptr<std::uint8_t>(y - 1);
        const auto* const below = image.ptr<std::uint8_t>(y + 1);
        const auto* const isValid = valid.empty() ? nullptr : valid.ptr<std::uint8_t>(y);
        for (int x = 1; x + 1 < image.cols; ++x) {
            if (showsNoise(here[x]) && (isValid == nullptr || isValid[x] != 0)) {
                const int response = std::abs(differTwice(above, here, below, x));
                ++counts[static_cast<std::size_t>(response < 255 ? response : 255)];
                ++total;
            }
        }
    }
    int below = 0;
    int response = 0;
    while (response < 255 &&
           (below += counts[static_cast<std::size_t>(response)]) * 100.0 < total * double{percentile}) {
        ++response;
    }
    return response;
}

} // namespace vision::toolkit::semi_global
