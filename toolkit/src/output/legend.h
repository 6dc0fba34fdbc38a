// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_OUTPUT_LEGEND_H
#define VISION_TOOLKIT_SRC_OUTPUT_LEGEND_H

#include "output/colours.h"

#include <opencv2/core/mat.hpp>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vision::toolkit {

/// A colour and what it means.
struct Swatch
{
    cv::Vec3b colour;
    std::string text;
};

/// The bar of the colour map, near at the top, with labels at round values.
struct ColourBar
{
    ColourEnds ends;
    std::function<std::string(double value, int digits)> label; ///< digits: what the steps ask for
};

/// What a legend shows, from top to bottom.
struct Legend
{
    std::string title;
    std::vector<Swatch> above;
    std::optional<ColourBar> bar;
    std::vector<Swatch> below;
};

/// Puts a legend on the right of a picture. It is as large as the picture is high, but always readable.
/// @param picture `CV_8UC3`
/// @return `CV_8UC3`, wider and, if the picture is very low, higher
cv::Mat attachLegend(const cv::Mat& picture, const Legend& legend);

} // namespace vision::toolkit

#endif
