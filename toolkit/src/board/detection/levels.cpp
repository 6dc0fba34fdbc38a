// SPDX-License-Identifier: Apache-2.0
#include "board/detection/detection.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>

namespace vision::toolkit {

SearchLevel halve(const SearchLevel& level, const cv::Mat& full)
{
    SearchLevel half{{}, level.factor / 2};
    cv::resize(full, half.grey, {}, half.factor, half.factor, cv::INTER_AREA);
    return half;
}

std::vector<SearchLevel> makeSearchLevels(const cv::Mat& grey)
{
    constexpr int moderate = 960; // px: OpenCV's detectors are made for images of about this size
    std::vector<SearchLevel> levels{{grey, 1}};
    while (std::max(levels.front().grey.cols, levels.front().grey.rows) > moderate) {
        levels.insert(levels.begin(), halve(levels.front(), grey));
    }
    return levels;
}

Corners scaleToFull(Corners corners, const SearchLevel& level)
{
    for (cv::Point2f& corner : corners) {
        const cv::Point2d full = (cv::Point2d(corner) + cv::Point2d(0.5, 0.5)) / level.factor;
        corner = full - cv::Point2d(0.5, 0.5); // whole numbers are the centres of pixels
    }
    return corners;
}

} // namespace vision::toolkit
