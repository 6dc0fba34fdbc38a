// SPDX-License-Identifier: Apache-2.0
#include "input/frame_times.h"

#include "base/statistics.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace vision::toolkit {

namespace {

/// The times between the frames; the decoder does not tell those of the last few that it gives.
std::vector<double> findSteps(const std::vector<double>& times)
{
    std::vector<double> steps;
    for (std::size_t i = 1; i < times.size() && times[i] > times[i - 1]; ++i) {
        steps.push_back(times[i] - times[i - 1]);
    }
    return steps;
}

} // namespace

std::vector<std::size_t> numberFrames(const std::vector<double>& times)
{
    std::vector<std::size_t> inOrder(times.size());
    std::iota(inOrder.begin(), inOrder.end(), 0);
    const std::vector<double> steps = findSteps(times);
    const double usual = medianAndSpread(steps).median;
    std::vector<std::size_t> frames{0};
    for (std::size_t i = 0; i < steps.size(); ++i) {
        constexpr double tolerance = 0.25;
        constexpr double longestGap = 1000; // frames; beyond it, the clock was set
        const double step = steps[i] / usual;
        const double whole = std::round(step);
        if (!(std::abs(step - whole) < tolerance) || whole < 1 || whole > longestGap) {
            return inOrder;
        }
        frames.insert(frames.end(), static_cast<std::size_t>(whole) - 1, noFrame);
        frames.push_back(i + 1);
    }
    for (std::size_t i = frames.back() + 1; i < times.size(); ++i) {
        frames.push_back(i);
    }
    return times.empty() ? inOrder : frames;
}

bool isShort(const std::vector<double>& times, std::size_t numbered, const StatedLength& stated)
{
    constexpr double mostFrames = 1e9;
    if (!(0 < stated.frames && stated.frames < mostFrames)) {
        return false;
    }
    if (stated.isCounted) {
        return static_cast<double>(numbered) < stated.frames;
    }
    const std::vector<double> steps = findSteps(times);
    if (steps.empty() || !(stated.perSecond > 0)) {
        return false;
    }
    constexpr double milliseconds = 1000;
    constexpr double longerSound = 250; // ms
    const double usual = medianAndSpread(steps).median;
    const double longest = *std::max_element(steps.begin(), steps.end());
    const auto withoutTime = static_cast<double>(times.size() - 1 - steps.size());
    const double end = times[steps.size()] + usual * withoutTime + 2 * longest + longerSound;
    return end < milliseconds * stated.frames / stated.perSecond;
}

} // namespace vision::toolkit
