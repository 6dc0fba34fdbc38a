// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/output/pictures.h>

#include "output/colours.h"
#include "output/legend.h"

#include <fmt/format.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>

namespace vision::toolkit {

namespace {

cv::Mat toColour(const cv::Mat& image)
{
    cv::Mat colour = image;
    if (image.channels() == 1) {
        cv::cvtColor(image, colour, cv::COLOR_GRAY2BGR);
    }
    return colour;
}

/// Black and white, since one of them stands out wherever the line goes.
void drawDashes(cv::Mat& picture, const cv::Rect& line)
{
    const int length = 8 * line.height;
    for (int left = 0; left < line.width; left += length) {
        const cv::Rect dash(left, line.y, length, line.height);
        picture(dash & line).setTo(left / length % 2 == 0 ? 255 : 0);
    }
}

/// "1.234 m", with fewer digits the more there are before the point.
std::string formatDepth(double metres)
{
    const int before = metres < 1 ? 0 : static_cast<int>(std::log10(metres));
    return fmt::format("{:.{}f}", metres, std::max(3 - before, 0)) + " m";
}

Legend makeLegend(const std::optional<ColourRange>& range, const char* nothing)
{
    Legend legend;
    legend.below = {{noValueColour, nothing}, {unsearchedColour, "not searched"}};
    if (range) {
        legend.above = {{nearerColour, "nearer"}};
        legend.below.insert(legend.below.begin(), {fartherColour, "farther"});
    }
    return legend;
}

ColourBar makeDisparityBar(const ColourRange& range, const DepthOfDisparity& depthAt)
{
    const auto label = [depthAt](double disparity, int digits) {
        std::string text = fmt::format("{:.{}f}", disparity, digits) + " px";
        const double depth = depthAt ? depthAt(disparity) : 0;
        if (depth > 0 && std::isfinite(depth)) {
            text += "  " + formatDepth(depth);
        }
        return text;
    };
    return {{range.low, range.high}, label};
}

ColourBar makeDepthBar(const ColourRange& range)
{
    const auto label = [](double depth, int digits) { return fmt::format("{:.{}f}", depth, digits) + " m"; };
    return {{range.high, range.low}, label};
}

/// Without a range there is nothing to paint, but there are still pixels that cannot be searched.
ColourEnds getEnds(const Legend& legend)
{
    return legend.bar ? legend.bar->ends : ColourEnds{0, 1};
}

} // namespace

cv::Mat drawRectifiedRows(const cv::Mat& left, const cv::Mat& right)
{
    const bool isGrey = left.channels() == 1 && right.channels() == 1;
    cv::Mat picture;
    cv::hconcat(isGrey ? left : toColour(left), isGrey ? right : toColour(right), picture);
    const int distance = std::max(picture.rows / 20, 16);
    const int width = std::max(picture.rows / 1000, 1);
    for (int row = distance / 2; row + width <= picture.rows; row += distance) {
        const cv::Rect line(0, row, picture.cols, width);
        if (isGrey) {
            drawDashes(picture, line);
        } else {
            picture(line).setTo(cv::Scalar(0, 255, 0));
        }
    }
    return picture;
}

cv::Mat drawDisparity(const cv::Mat& disparity, const cv::Mat& unsearched, const PictureScale& scale)
{
    if (scale.disparity) {
        requireUsable(*scale.disparity);
    }
    const auto range = scale.disparity ? scale.disparity : findColourRange(disparity);
    Legend legend = makeLegend(range, "no match");
    legend.title = !range ? "nothing matched" : scale.depthAt ? "disparity, depth" : "disparity";
    if (range) {
        legend.bar = makeDisparityBar(*range, scale.depthAt);
    }
    return attachLegend(paint(disparity, unsearched, getEnds(legend)), legend);
}

cv::Mat drawDepth(const cv::Mat& depth, const cv::Mat& unsearched, const PictureScale& scale)
{
    cv::Mat values = depth.clone();
    values.setTo(std::numeric_limits<double>::infinity(), depth == 0);
    const auto range = scale.depth ? scale.depth : findColourRange(values);
    Legend legend = makeLegend(range, "no depth");
    legend.title = range ? "depth" : "no depth found";
    if (range) {
        legend.bar = makeDepthBar(*range);
    }
    return attachLegend(paint(values, unsearched, getEnds(legend)), legend);
}

cv::Mat drawLevels(const cv::Mat& levels, const cv::Mat& unsearched)
{
    CV_Assert(levels.type() == CV_8UC1);
    const std::array<Swatch, 4> known{{{noValueColour, "no match"},
                                       {{115, 158, 0}, "full"},
                                       {{66, 228, 240}, "half"},
                                       {{0, 94, 213}, "quarter"}}};
    cv::Mat picture(levels.size(), CV_8UC3, cv::Scalar(noValueColour));
    if (!unsearched.empty()) {
        picture.setTo(cv::Scalar(unsearchedColour), unsearched);
    }
    Legend legend;
    legend.title = "matched at size";
    for (std::size_t level = 1; level < known.size(); ++level) {
        const cv::Mat mask = levels == static_cast<double>(level);
        picture.setTo(cv::Scalar(known[level].colour), mask);
        const double percent = 100.0 * cv::countNonZero(mask) / static_cast<double>(levels.total());
        legend.below.push_back(
            {known[level].colour, known[level].text + " " + fmt::format("{:.1f}", percent) + " %"});
    }
    legend.below.push_back(known[0]);
    legend.below.push_back({unsearchedColour, "not searched"});
    return attachLegend(picture, legend);
}

} // namespace vision::toolkit
