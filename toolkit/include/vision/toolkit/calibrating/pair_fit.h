// SPDX-License-Identifier: Apache-2.0
/// @file
/// The parameters of both cameras and their relative position, estimated from views of a board.
#ifndef VISION_TOOLKIT_CALIBRATING_PAIR_FIT_H
#define VISION_TOOLKIT_CALIBRATING_PAIR_FIT_H

#include <vision/toolkit/calibrating/board_search.h>
#include <vision/toolkit/export.h>

#include <opencv2/core/mat.hpp>

#include <vector>

namespace vision::toolkit {

/// Which distortion a lens is taken to have; the terms are OpenCV's.
struct LensModel
{
    int coefficients = 5; ///< 4 (k1 k2 p1 p2), 5 (and k3), 8 (and k4 to k6) or 14 (and thin prism, tilt)
    bool fixK3 = false;   ///< k3 is 0
    bool fixTangential = false; ///< p1 and p2 are 0
};

struct CameraFit
{
    cv::Mat matrix;     ///< 3x3, `CV_64F`, px
    cv::Mat distortion; ///< 1xN, `CV_64F`
    double rms = 0;     ///< reprojection error of this camera alone, px
};

/// OpenCV's estimates in double precision. A point X of the left camera's frame is R X + T in the right
/// one's.
struct PairFit
{
    CameraFit left;
    CameraFit right;
    cv::Mat rotation;    ///< R, 3x3, `CV_64F`
    cv::Mat translation; ///< T, 3x1, `CV_64F`, in m
    double rms = 0;      ///< with one position of the board for both cameras, px
};

/// Fits each camera alone, then their relative position: each is determined better alone than together with
/// the position of the other.
/// @param views at least 1
/// @param start an earlier fit to start from, which is faster; none to start from nothing
/// @throws cv::Exception when the views determine nothing
VISION_TOOLKIT_EXPORT PairFit fitPair(const std::vector<const BoardView*>& views, const cv::Size& imageSize,
                                      const Board& board, const LensModel& lens,
                                      const PairFit* start = nullptr);

/// Standard deviations of a camera's parameters, px. They take the residuals of different points for
/// independent, those of one point in x and y for one observation.
struct CameraDeviation
{
    double focalLengthX;
    double focalLengthY;
    double principalPointX;
    double principalPointY;
};

struct PairDeviation
{
    CameraDeviation left;
    CameraDeviation right;
};

/// The deviations that the residuals of a fit of these views give by the curvature of their sum of squares.
VISION_TOOLKIT_EXPORT PairDeviation findDeviations(const std::vector<const BoardView*>& views,
                                                   const cv::Size& imageSize, const Board& board,
                                                   const LensModel& lens, const PairFit& start);

} // namespace vision::toolkit

#endif
