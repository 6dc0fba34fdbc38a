// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/evaluation/evaluation.h>

#include "evaluation/errors.h"
#include "output/colours.h"
#include "output/legend.h"

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <algorithm>

namespace vision::toolkit {

namespace {

/// One for each of badLimits, one beyond the last and one for pixels without a value.
constexpr std::size_t classes = badLimits.size() + 2;
constexpr std::size_t noValue = classes - 1;

std::array<cv::Vec3b, classes> makeColours()
{
    std::array<cv::Vec3b, classes> colours;
    for (std::size_t i = 0; i < noValue; ++i) {
        colours[i] = getColourMap()[255 * i / badLimits.size()];
    }
    colours[noValue] = noValueColour;
    return colours;
}

std::size_t classify(float found, float wanted)
{
    if (!std::isfinite(found)) {
        return noValue;
    }
    const double error = std::abs(double{found} - double{wanted});
    const auto* limit = std::lower_bound(badLimits.begin(), badLimits.end(), error);
    return static_cast<std::size_t>(limit - badLimits.begin());
}

/// "to 0.5 px".
std::string describe(std::size_t errorClass)
{
    if (errorClass == noValue) {
        return "no value";
    }
    const bool isLast = errorClass == badLimits.size();
    const double limit = badLimits[isLast ? errorClass - 1 : errorClass];
    return (isLast ? "over " : "to ") + fmt::format("{:.{}f}", limit, limit < 1 ? 1 : 0) + " px";
}

} // namespace

cv::Mat drawError(const cv::Mat& disparity, const cv::Mat& truth, const cv::Mat& mask)
{
    const Evaluation evaluation = evaluate(disparity, truth, mask);
    const auto colours = makeColours();
    std::array<std::size_t, classes> counts{};
    cv::Mat picture(truth.size(), CV_8UC3, cv::Scalar(unsearchedColour));
    forEachTruth(disparity, truth, mask, [&](const cv::Point& pixel, float found, float wanted) {
        const std::size_t errorClass = classify(found, wanted);
        picture.at<cv::Vec3b>(pixel) = colours[errorClass];
        ++counts[errorClass];
    });

    Legend legend;
    legend.title = "error";
    for (std::size_t i = 0; i < classes; ++i) {
        const double percent = 100.0 * static_cast<double>(counts[i]) / static_cast<double>(evaluation.truth);
        legend.below.push_back({colours[i], describe(i) + "  " + fmt::format("{:.1f}", percent) + " %"});
    }
    legend.below.push_back({unsearchedColour, "no truth"});
    return attachLegend(picture, legend);
}

} // namespace vision::toolkit
