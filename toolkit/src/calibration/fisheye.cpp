// SPDX-License-Identifier: Apache-2.0
#include "calibration/fisheye.h"

#include "calibration/poses.h"

#include <opencv2/calib3d.hpp>

#include <cmath>

namespace vision::toolkit {

namespace {

using Points = std::vector<std::vector<cv::Point2d>>;

/// @return the residual of a fit with the model of a fisheye lens, px; infinite when it finds none
double fitFisheye(const std::vector<std::vector<cv::Point3d>>& boards, const Points& corners,
                  const cv::Size& size)
{
    cv::Mat matrix;
    cv::Mat distortion;
    std::vector<cv::Mat> rotations;
    std::vector<cv::Mat> translations;
    try {
        return cv::fisheye::calibrate(boards,
                                      corners,
                                      size,
                                      matrix,
                                      distortion,
                                      rotations,
                                      translations,
                                      cv::fisheye::CALIB_RECOMPUTE_EXTRINSIC | cv::fisheye::CALIB_FIX_SKEW);
    } catch (const cv::Exception&) { // it does not converge for other lenses
        return INFINITY;
    }
}

} // namespace

bool isFisheye(const std::vector<const BoardView*>& views, const cv::Size& imageSize, const Board& board,
               const LensModel& lens)
{
    constexpr std::size_t enough = 24;
    constexpr double farBetter = 0.5;
    const auto poses = spread(selectPoses(views, imageSize), enough);
    const PairFit common = fitPair(poses, imageSize, board, lens);
    std::vector<std::vector<cv::Point3d>> boards;
    Points left;
    Points right;
    for (const BoardView* pose : poses) {
        const auto points = makeBoardPoints(board, pose->ids);
        boards.emplace_back(points.begin(), points.end());
        left.emplace_back(pose->left.begin(), pose->left.end());
        right.emplace_back(pose->right.begin(), pose->right.end());
    }
    return fitFisheye(boards, left, imageSize) < farBetter * common.left.rms ||
           fitFisheye(boards, right, imageSize) < farBetter * common.right.rms;
}

} // namespace vision::toolkit
