// SPDX-License-Identifier: Apache-2.0
#include "depth/scaled_settings.h"

#include <algorithm>
#include <cmath>

namespace vision::toolkit {

namespace {

void scale(std::optional<int>& value, double factor)
{
    if (value) {
        *value = static_cast<int>(std::lround(*value * factor));
    }
}

/// To the nearest odd number.
void scaleWindow(std::optional<int>& window, double factor, int smallest)
{
    if (window) {
        const int half = static_cast<int>(std::lround((*window * factor - 1) / 2));
        *window = std::max(2 * half + 1, std::min(smallest, *window));
    }
}

} // namespace

MatcherSettings scaleTo(const MatcherSettings& settings, double factor)
{
    constexpr int smallestBlock = 5; // that bm and sgbm take
    MatcherSettings scaled = settings;
    scaleWindow(scaled.window, factor, smallestBlock);
    scaleWindow(scaled.preFilterSize, factor, smallestBlock);
    scale(scaled.speckleRange, factor);
    scale(scaled.speckleWindow, factor * factor);
    return scaled;
}

} // namespace vision::toolkit
