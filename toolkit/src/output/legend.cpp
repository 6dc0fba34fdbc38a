// SPDX-License-Identifier: Apache-2.0
#include "output/legend.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace vision::toolkit {

namespace {

const cv::Scalar white(255, 255, 255);
const cv::Scalar grey(160, 160, 160);

/// Lengths in px, for a legend that is so many times as large as the smallest readable one.
struct Layout
{
    double scale;

    int scaled(double length) const { return cvRound(length * scale); }
    int margin() const { return scaled(8); }
    int line() const { return scaled(14); } ///< from one text to the next
    int leastWidth() const { return scaled(150); }
    int swatchHeight() const { return scaled(10); }
    int barWidth() const { return scaled(16); }
    int labelLeft() const { return scaled(32); }
    int stroke() const { return std::max(static_cast<int>(scale), 1); }
    double fontSize() const { return 0.4 * scale; }
};

constexpr auto font = cv::FONT_HERSHEY_SIMPLEX;
constexpr int shortestBar = 5; // lines

/// @param centre row of the middle of the letters
void write(cv::Mat& canvas, const std::string& text, int left, int centre, const Layout& layout)
{
    const int height = cv::getTextSize("0", font, layout.fontSize(), layout.stroke(), nullptr).height;
    cv::putText(canvas,
                text,
                {left, centre + height / 2},
                font,
                layout.fontSize(),
                white,
                layout.stroke(),
                cv::LINE_AA);
}

/// @param centre row of the middle of the first
void drawSwatches(cv::Mat& canvas, const std::vector<Swatch>& swatches, int centre, const Layout& layout)
{
    for (const Swatch& swatch : swatches) {
        const cv::Rect box(
            layout.margin(), centre - layout.swatchHeight() / 2, layout.barWidth(), layout.swatchHeight());
        cv::rectangle(canvas, box, cv::Scalar(swatch.colour), cv::FILLED);
        cv::rectangle(canvas, box, grey, layout.stroke());
        write(canvas, swatch.text, layout.labelLeft(), centre, layout);
        centre += layout.line();
    }
}

/// The distance of the labels: 1, 2 or 5 times a power of ten.
struct TickStep
{
    double size;
    int digits; ///< behind the point
};

TickStep findTickStep(double span, int mostTicks)
{
    const double least = span / mostTicks;
    const double exponent = std::floor(std::log10(least));
    const double power = std::pow(10, exponent);
    for (const double step : {power, 2 * power, 5 * power}) {
        if (step >= least) {
            return {step, std::max(-static_cast<int>(exponent), 0)};
        }
    }
    return {10 * power, std::max(-static_cast<int>(exponent) - 1, 0)};
}

struct Tick
{
    int row; ///< below the upper end of the bar
    std::string text;
};

/// @param length of the bar
std::vector<Tick> makeTicks(const ColourBar& bar, int length, const Layout& layout)
{
    constexpr int enough = 12;
    const auto [low, high] = std::minmax(bar.ends.farthest, bar.ends.nearest);
    const int most = std::clamp(length / layout.line(), 1, enough);
    const TickStep step = findTickStep(high - low, most);
    const double first = std::ceil(low / step.size);
    std::vector<Tick> ticks;
    for (int i = 0; i <= most; ++i) { // a number that steps are added to may be too large to grow by one
        const double value = (first + i) * step.size;
        if (value > high) {
            break;
        }
        const double share = (bar.ends.nearest - value) / (bar.ends.nearest - bar.ends.farthest);
        ticks.push_back({cvRound(share * (length - 1)), bar.label(value, step.digits)});
    }
    return ticks;
}

void drawBar(cv::Mat& canvas, const cv::Range& rows, const std::vector<Tick>& ticks, const Layout& layout)
{
    const ColourMap& map = getColourMap();
    const int left = layout.margin();
    const int right = left + layout.barWidth();
    const int last = rows.size() - 1;
    for (int row = 0; row <= last; ++row) {
        const auto index = static_cast<std::size_t>(255 * (last - row) / last);
        canvas.row(rows.start + row).colRange(left, right).setTo(cv::Scalar(map[index]));
    }
    for (const Tick& tick : ticks) {
        const int row = rows.start + tick.row;
        cv::line(canvas, {right, row}, {layout.labelLeft() - layout.line() / 4, row}, white, layout.stroke());
        write(canvas, tick.text, layout.labelLeft(), row, layout);
    }
}

/// The least width, so that pictures of a kind get legends of the same one, unless a text needs more.
int findWidth(const Legend& legend, const std::vector<Tick>& ticks, const Layout& layout)
{
    int widest = layout.leastWidth();
    const auto include = [&](const std::string& text, int left) {
        const cv::Size size = cv::getTextSize(text, font, layout.fontSize(), layout.stroke(), nullptr);
        widest = std::max(widest, left + size.width + layout.margin());
    };
    include(legend.title, layout.margin());
    for (const auto* swatches : {&legend.above, &legend.below}) {
        for (const Swatch& swatch : *swatches) {
            include(swatch.text, layout.labelLeft());
        }
    }
    for (const Tick& tick : ticks) {
        include(tick.text, layout.labelLeft());
    }
    return widest;
}

} // namespace

cv::Mat attachLegend(const cv::Mat& picture, const Legend& legend)
{
    const Layout layout{std::max(picture.rows / 480.0, 1.0)};
    const int aboveBar = 1 + static_cast<int>(legend.above.size());
    const int belowBar = static_cast<int>(legend.below.size());
    const int lowest = aboveBar + (legend.bar ? shortestBar : 0) + belowBar;
    const int height = std::max(picture.rows, 2 * layout.margin() + lowest * layout.line());

    const int barTop = layout.margin() + aboveBar * layout.line() + layout.line() / 2;
    const int barBottom = height - layout.margin() - belowBar * layout.line() - layout.line() / 2;
    std::vector<Tick> ticks;
    if (legend.bar) {
        ticks = makeTicks(*legend.bar, barBottom - barTop, layout);
    }

    const int width = findWidth(legend, ticks, layout);
    cv::Mat canvas(height, picture.cols + width, CV_8UC3, cv::Scalar::all(0));
    picture.copyTo(canvas(cv::Rect({0, 0}, picture.size())));
    cv::Mat column = canvas.colRange(picture.cols, canvas.cols);
    const int first = layout.margin() + layout.line() / 2;
    write(column, legend.title, layout.margin(), first, layout);
    drawSwatches(column, legend.above, first + layout.line(), layout);
    if (legend.bar) {
        drawBar(column, {barTop, barBottom}, ticks, layout);
    }
    drawSwatches(column, legend.below, legend.bar ? barBottom + layout.line() : barTop, layout);
    return canvas;
}

} // namespace vision::toolkit
