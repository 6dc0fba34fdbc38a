// SPDX-License-Identifier: Apache-2.0
#include "matching/left_right_check.h"

#include "matching/engine.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <limits>

namespace vision::toolkit {

namespace {

constexpr float unmatched = std::numeric_limits<float>::infinity();

cv::Mat mirror(const cv::Mat& image)
{
    cv::Mat mirrored;
    cv::flip(image, mirrored, 1);
    return mirrored;
}

/// Drops the matches that the right image's own match contradicts.
/// @param disparity with all partners inside the image
/// @param confirmation disparities of the mirrored right image
void dropContradicted(cv::Mat& disparity, const cv::Mat& confirmation)
{
    constexpr float largestDifference = 1; // px
    const int last = disparity.cols - 1;
    for (int y = 0; y < disparity.rows; ++y) {
        auto* const row = disparity.ptr<float>(y);
        const auto* const confirmed = confirmation.ptr<float>(y);
        for (int x = 0; x <= last; ++x) {
            if (row[x] != unmatched &&
                !(std::abs(confirmed[last - (x - cvRound(row[x]))] - row[x]) <= largestDifference)) {
                row[x] = unmatched;
            }
        }
    }
}

/// Drops the matches of pixels around which the image does not change at all, such as black borders and
/// clipped skies: there any match is a guess.
void dropFeatureless(cv::Mat& disparity, const cv::Mat& image)
{
    constexpr int around = 17; // px
    const cv::Mat square = cv::getStructuringElement(cv::MORPH_RECT, {around, around});
    cv::Mat darkest;
    cv::Mat brightest;
    cv::erode(image, darkest, square);
    cv::dilate(image, brightest, square);
    disparity.setTo(std::numeric_limits<double>::infinity(), darkest == brightest);
}

} // namespace

void dropOutside(cv::Mat& disparity, const RectifiedPair& pair)
{
    for (int y = 0; y < disparity.rows; ++y) {
        auto* const row = disparity.ptr<float>(y);
        const auto* const valid = pair.rightValid.empty() ? nullptr : pair.rightValid.ptr<unsigned char>(y);
        for (int x = 0; x < disparity.cols; ++x) {
            if (row[x] == unmatched) {
                continue;
            }
            const int partner = x - cvRound(row[x]);
            if (partner < 0 || partner >= disparity.cols || (valid != nullptr && valid[partner] == 0)) {
                row[x] = unmatched;
            }
        }
    }
    if (!pair.leftValid.empty()) {
        disparity.setTo(std::numeric_limits<double>::infinity(), pair.leftValid == 0);
    }
}

cv::Mat matchBlocks(const RectifiedPair& pair, const SearchRange& range, const MatcherSettings& settings)
{
    cv::Mat disparity = matchOneWay(pair.left, pair.right, range, settings);
    dropOutside(disparity, pair);
    dropFeatureless(disparity, pair.left);
    dropContradicted(disparity, matchOneWay(mirror(pair.right), mirror(pair.left), range, settings));
    return disparity;
}

} // namespace vision::toolkit
