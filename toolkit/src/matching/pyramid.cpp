// SPDX-License-Identifier: Apache-2.0
#include "matching/pyramid.h"

#include "matching/range_checks.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace vision::toolkit {

namespace {

constexpr float unmatched = std::numeric_limits<float>::infinity();

/// Where a column or row of the large image lies in the small one.
struct Place
{
    int covering; ///< the pixel that it lies in
    int first;    ///< the two nearest ones; the same at the image's ends
    int second;
    float weight; ///< of the second
};

Place findPlace(int at, int large, int small)
{
    const float exact =
        (static_cast<float>(at) + 0.5f) * static_cast<float>(small) / static_cast<float>(large);
    const int covering = std::min(static_cast<int>(exact), small - 1);
    const float lower = std::floor(exact - 0.5f);
    const int first = static_cast<int>(lower);
    return {covering, std::max(first, 0), std::min(first + 1, small - 1), exact - 0.5f - lower};
}

float interpolate(const cv::Mat& disparity, const Place& x, const Place& y)
{
    constexpr float largestStep = 1; // px, between neighbours on one surface
    const float covering = disparity.at<float>(y.covering, x.covering);
    const auto* const upper = disparity.ptr<float>(y.first);
    const auto* const lower = disparity.ptr<float>(y.second);
    const auto [low, high] = std::minmax({upper[x.first], upper[x.second], lower[x.first], lower[x.second]});
    if (covering == unmatched || !(high - low <= largestStep)) {
        return covering;
    }
    const float above = upper[x.first] + x.weight * (upper[x.second] - upper[x.first]);
    const float below = lower[x.first] + x.weight * (lower[x.second] - lower[x.first]);
    return above + y.weight * (below - above);
}

cv::Mat shrinkImage(const cv::Mat& image, const cv::Size& size)
{
    cv::Mat smaller;
    cv::resize(image, smaller, size, 0, 0, cv::INTER_AREA);
    return smaller;
}

cv::Mat shrinkMask(const cv::Mat& valid, const cv::Size& size)
{
    return valid.empty() ? valid : cv::Mat(shrinkImage(valid != 0, size) == 255);
}

int divideUp(int value, int divisor)
{
    return static_cast<int>(std::ceil(static_cast<double>(value) / divisor));
}

} // namespace

RectifiedPair shrink(const RectifiedPair& pair, int factor)
{
    const cv::Size size(divideUp(pair.left.cols, factor), divideUp(pair.left.rows, factor));
    return {shrinkImage(pair.left, size),
            shrinkImage(pair.right, size),
            shrinkMask(pair.leftValid, size),
            shrinkMask(pair.rightValid, size)};
}

SearchRange shrink(const SearchRange& range, int factor)
{
    return coverDisparities(std::floor(static_cast<double>(range.minDisparity) / factor),
                            std::ceil(static_cast<double>(range.maxDisparity()) / factor));
}

cv::Mat enlarge(const cv::Mat& disparity, const cv::Size& size)
{
    std::vector<Place> columns;
    columns.reserve(static_cast<std::size_t>(size.width));
    for (int x = 0; x < size.width; ++x) {
        columns.push_back(findPlace(x, size.width, disparity.cols));
    }
    const float factor = static_cast<float>(size.width) / static_cast<float>(disparity.cols);
    cv::Mat larger(size, CV_32FC1);
    for (int y = 0; y < size.height; ++y) {
        const Place row = findPlace(y, size.height, disparity.rows);
        auto* const out = larger.ptr<float>(y);
        for (std::size_t x = 0; x < columns.size(); ++x) {
            out[x] = factor * interpolate(disparity, columns[x], row);
        }
    }
    return larger;
}

} // namespace vision::toolkit
