// SPDX-License-Identifier: Apache-2.0
/// @file
/// The parameters of both cameras and their relative position, estimated from views of a board.
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_PAIR_FIT_H
#define VISION_TOOLKIT_SRC_CALIBRATION_PAIR_FIT_H

#include <vision/toolkit/calibration/calibration_report.h>

#include <opencv2/core/mat.hpp>

#include <vector>

namespace vision::toolkit {

/// Fits each camera alone, then their relative position: each is determined better alone than together with
/// the position of the other.
/// @param views at least 1
/// @param start an earlier fit to start from, which is faster; none to start from nothing
/// @throws cv::Exception when the views determine nothing
PairFit fitPair(const std::vector<const BoardView*>& views, const cv::Size& imageSize, const Board& board,
                const LensModel& lens, const PairFit* start = nullptr);

} // namespace vision::toolkit

#endif
