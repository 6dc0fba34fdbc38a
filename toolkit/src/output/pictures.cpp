#include <vision/toolkit/output/pictures.h>

#include <vision/toolkit/text.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace vision::toolkit {

namespace {

const cv::Scalar white(255, 255, 255);
const cv::Scalar green(0, 255, 0);

cv::Mat toColour(const cv::Mat& image)
{
    cv::Mat colour = image;
    if (image.channels() == 1) {
        cv::cvtColor(image, colour, cv::COLOR_GRAY2BGR);
    }
    return colour;
}

/// The disparities at the ends of the colours.
struct Range
{
    double low;
    double high;
};

Range findRange(const cv::Mat& disparity)
{
    constexpr double outermost = 0.01;
    std::vector<float> matched;
    std::copy_if(disparity.begin<float>(),
                 disparity.end<float>(),
                 std::back_inserter(matched),
                 [](float value) { return std::isfinite(value); });
    if (matched.empty()) {
        return {0, 1};
    }
    const auto rank = [&matched](double share) {
        const auto at =
            matched.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(matched.size() - 1));
        std::nth_element(matched.begin(), at, matched.end());
        return std::floor(double{*at});
    };
    const double low = rank(outermost);
    return {low, std::max(rank(1 - outermost) + 1, low + 1)};
}

cv::Mat colourise(const cv::Mat& disparity, const Range& range)
{
    const double factor = 255 / (range.high - range.low);
    cv::Mat levels;
    disparity.convertTo(levels, CV_8U, factor, -range.low * factor);
    cv::Mat colours;
    cv::applyColorMap(levels, colours, cv::COLORMAP_JET);
    return colours;
}

/// The smallest of 1, 2, 5, 10, 20, 50 ... px that leaves room for the labels.
double findTickStep(const Range& range, int mostTicks)
{
    for (double power = 1;; power *= 10) {
        for (const double step : {power, 2 * power, 5 * power}) {
            if ((range.high - range.low) / step <= mostTicks) {
                return step;
            }
        }
    }
}

void write(cv::Mat& picture, const std::string& text, const cv::Point& at)
{
    constexpr double size = 0.4;
    cv::putText(picture, text, at, cv::FONT_HERSHEY_SIMPLEX, size, white, 1, cv::LINE_AA);
}

/// Draws the colours from high (top) to low with a labelled tick at round disparities.
cv::Mat drawScale(const Range& range, int height, const std::function<double(double)>& depthAt)
{
    constexpr int margin = 24;
    constexpr int barLeft = 10;
    constexpr int barWidth = 16;
    constexpr int labelLeft = 34;
    constexpr int width = 160;
    constexpr int tickDistance = 28;
    const int length = height - 2 * margin;

    cv::Mat bar(length, barWidth, CV_32F);
    for (int row = 0; row < length; ++row) {
        bar.row(row).setTo(range.high - (range.high - range.low) * row / (length - 1));
    }
    cv::Mat scale(height, width, CV_8UC3, cv::Scalar::all(0));
    colourise(bar, range).copyTo(scale(cv::Rect(barLeft, margin, barWidth, length)));
    write(scale, "disparity, depth", {barLeft, margin - 10});
    write(scale, "black: no match", {barLeft, height - margin + 16});

    const double step = findTickStep(range, std::max(length / tickDistance, 1));
    for (double tick = std::ceil(range.low / step) * step; tick <= range.high; tick += step) {
        const int row = margin + cvRound((range.high - tick) / (range.high - range.low) * (length - 1));
        cv::line(scale, {barLeft + barWidth, row}, {labelLeft - 4, row}, white);
        const double depth = depthAt(tick);
        const std::string metres =
            depth > 0 && std::isfinite(depth) ? "  " + formatFixed(depth, 3) + " m" : "";
        write(scale, formatFixed(tick, 0) + " px" + metres, {labelLeft, row + 4});
    }
    return scale;
}

} // namespace

cv::Mat drawRectifiedPair(const cv::Mat& left, const cv::Mat& right)
{
    cv::Mat picture;
    cv::hconcat(toColour(left), toColour(right), picture);
    const int distance = std::max(picture.rows / 20, 8);
    for (int row = distance / 2; row < picture.rows; row += distance) {
        cv::line(picture, {0, row}, {picture.cols - 1, row}, green);
    }
    return picture;
}

cv::Mat drawDisparity(const cv::Mat& disparity, const std::function<double(double)>& depthAt)
{
    constexpr int lowestScale = 120;
    const Range range = findRange(disparity);
    cv::Mat colours = colourise(disparity, range);
    colours.setTo(cv::Scalar::all(0), disparity == std::numeric_limits<double>::infinity());

    const int height = std::max(disparity.rows, lowestScale);
    const cv::Mat scale = drawScale(range, height, depthAt);
    cv::Mat picture(height, disparity.cols + scale.cols, CV_8UC3, cv::Scalar::all(0));
    colours.copyTo(picture(cv::Rect({0, 0}, disparity.size())));
    scale.copyTo(picture(cv::Rect({disparity.cols, 0}, scale.size())));
    return picture;
}

} // namespace vision::toolkit
