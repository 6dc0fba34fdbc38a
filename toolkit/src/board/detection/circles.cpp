// SPDX-License-Identifier: Apache-2.0
#include "board/detection/detection.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/features2d.hpp>

namespace vision::toolkit {

namespace {

cv::Ptr<cv::FeatureDetector> makeBlobDetector(const cv::Size& image, const cv::Size& board)
{
    cv::SimpleBlobDetector::Params parameters;
    parameters.minDistBetweenBlobs = 5; // px
    // A circle cannot be larger than its share of the image.
    parameters.maxArea = static_cast<float>(image.area()) / static_cast<float>(board.area());
    return cv::SimpleBlobDetector::create(parameters);
}

} // namespace

// A centre is the mean of a whole outline: at reduced size it is as accurate as corners are at full size.
Corners findCircles(const cv::Mat& grey, const Board& board)
{
    const int shape = board.pattern == Pattern::AsymmetricCircles ? cv::CALIB_CB_ASYMMETRIC_GRID
                                                                  : cv::CALIB_CB_SYMMETRIC_GRID;
    for (const SearchLevel& level : makeSearchLevels(grey)) {
        Corners centres;
        if (cv::findCirclesGrid(
                level.grey, board.size, centres, shape, makeBlobDetector(level.grey.size(), board.size))) {
            return scaleToFull(centres, level);
        }
    }
    return {};
}

} // namespace vision::toolkit
