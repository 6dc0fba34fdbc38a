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

/// Finds the corners to a few pixels.
Corners search(const std::vector<SearchLevel>& levels, const cv::Size& size, Effort effort)
{
    Corners corners;
    for (const SearchLevel& level : levels) {
        if (cv::findChessboardCorners(level.grey, size, corners, byOneThreshold)) {
            return scaleToFull(corners, level);
        }
    }
    const std::size_t thorough = effort == Effort::Quick ? 0 : effort == Effort::Usual ? 1 : levels.size();
    for (std::size_t i = 0; i < thorough; ++i) {
        if (cv::findChessboardCorners(levels[i].grey, size, corners, byManyThresholds)) {
            return scaleToFull(corners, levels[i]);
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
