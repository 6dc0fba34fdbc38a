// SPDX-License-Identifier: Apache-2.0
#include "board/detection/detection.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <limits>

namespace vision::toolkit {

namespace {

/// One threshold for the whole image: finds nearly all boards and gives up 15 times sooner than the other
/// one.
constexpr int byOneThreshold = cv::CALIB_CB_NORMALIZE_IMAGE;
/// Thresholds that follow the light.
constexpr int byManyThresholds = cv::CALIB_CB_ADAPTIVE_THRESH | cv::CALIB_CB_NORMALIZE_IMAGE;

double findSmallestSpacing(const Corners& corners, const cv::Size& size)
{
    const auto columns = static_cast<std::size_t>(size.width);
    double smallest = std::numeric_limits<double>::max();
    for (std::size_t i = 0; i < corners.size(); ++i) {
        if (i % columns > 0) {
            smallest = std::min(smallest, cv::norm(corners[i] - corners[i - 1]));
        }
        if (i >= columns) {
            smallest = std::min(smallest, cv::norm(corners[i] - corners[i - columns]));
        }
    }
    return smallest;
}

/// How many dark squares a black and white image seems to have; stops counting beyond the limit.
std::size_t countSquares(const cv::Mat& binary, std::size_t limit)
{
    constexpr int smallest = 25;          // px^2, as OpenCV's detector takes them
    constexpr double coarsestOutline = 7; // px, likewise
    std::vector<std::vector<cv::Point>> outlines;
    std::vector<cv::Vec4i> hierarchy;
    cv::findContours(binary, outlines, hierarchy, cv::RETR_CCOMP, cv::CHAIN_APPROX_SIMPLE);
    std::size_t count = 0;
    for (std::size_t i = 0; i < outlines.size() && count <= limit; ++i) {
        const bool isHole = hierarchy[i][3] >= 0;
        if (!isHole || cv::boundingRect(outlines[i]).area() < smallest) {
            continue;
        }
        std::vector<cv::Point> outline = outlines[i];
        for (double coarse = 1; coarse <= coarsestOutline && outline.size() > 4; ++coarse) {
            cv::approxPolyDP(outlines[i], outline, coarse, true);
        }
        count += outline.size() == 4 ? 1 : 0;
    }
    return count;
}

/// Whether an image has so many squares that putting them together would take many seconds, as fine regular
/// patterns do.
bool isCrowded(const cv::Mat& grey, std::size_t limit)
{
    cv::Mat binary;
    cv::threshold(grey, binary, 0, 255, cv::THRESH_OTSU);
    if (countSquares(binary, limit) > limit) {
        return true;
    }
    const int block = std::max(3, std::min(grey.cols, grey.rows) / 5 | 1);
    cv::adaptiveThreshold(grey, binary, 255, cv::ADAPTIVE_THRESH_MEAN_C, cv::THRESH_BINARY, block, 0);
    return countSquares(binary, limit) > limit;
}

/// The time of a search grows with the number of squares, and six times faster when thresholds follow the
/// light; at these numbers it takes some tenths of a second.
std::size_t findMostSquares(const cv::Size& size, bool isByOneThreshold)
{
    constexpr std::size_t most = 1000;
    constexpr std::size_t mostByManyThresholds = 400;
    const auto onTheBoard =
        (static_cast<std::size_t>(size.width) + 1) * (static_cast<std::size_t>(size.height) + 1);
    return std::max(isByOneThreshold ? most : mostByManyThresholds, 2 * onTheBoard);
}

/// Finds the corners in one level to a few pixels.
Corners search(const SearchLevel& level, const cv::Size& size, int flags)
{
    Corners corners;
    const bool isFound = !isCrowded(level.grey, findMostSquares(size, flags == byOneThreshold)) &&
                         cv::findChessboardCorners(level.grey, size, corners, flags);
    return isFound ? scaleToFull(corners, level) : Corners();
}

/// Finer patterns than the board around it vanish in smaller images.
void addSmaller(std::vector<SearchLevel>& levels, const cv::Size& size)
{
    constexpr int smallest = 240; // px: no board has its corners apart in smaller images
    while (std::min(levels.front().grey.cols, levels.front().grey.rows) > 2 * smallest - 1 &&
           isCrowded(levels.front().grey, findMostSquares(size, true))) {
        levels.insert(levels.begin(), halve(levels.front(), levels.back().grey));
    }
}

/// Finds the corners to a few pixels.
Corners search(std::vector<SearchLevel> levels, const cv::Size& size, Effort effort)
{
    addSmaller(levels, size);
    for (const SearchLevel& level : levels) {
        Corners corners = search(level, size, byOneThreshold);
        if (!corners.empty()) {
            return corners;
        }
    }
    const std::size_t tried = effort == Effort::Quick ? 0 : effort == Effort::Usual ? 1 : 2;
    for (std::size_t i = 0; i < std::min(tried, levels.size()); ++i) {
        Corners corners = search(levels[i], size, byManyThresholds);
        if (!corners.empty()) {
            return corners;
        }
    }
    return {};
}

} // namespace

Corners findChessboard(const cv::Mat& grey, const cv::Size& size, Effort effort)
{
    Corners corners = search(makeSearchLevels(grey), size, effort);
    if (!corners.empty()) {
        const int half = std::max(2, cvRound(findSmallestSpacing(corners, size) / 3));
        const cv::TermCriteria stop(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 100, 0.001);
        cv::cornerSubPix(grey, corners, {half, half}, {-1, -1}, stop);
    }
    return corners;
}

} // namespace vision::toolkit
