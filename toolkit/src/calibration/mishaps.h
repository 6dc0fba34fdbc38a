// SPDX-License-Identifier: Apache-2.0
/// @file
/// What people do to images before they calibrate from them, and what only these mishaps do.
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_MISHAPS_H
#define VISION_TOOLKIT_SRC_CALIBRATION_MISHAPS_H

#include <vision/toolkit/calibration/calibration_report.h>

#include <optional>
#include <vector>

namespace vision::toolkit {

/// Whether both images are the same one: no two cameras see all points of a board in the same place.
bool isSameImage(const BoardView& view);

/// Which views have left and right exchanged, judged by where the right camera is in most views.
/// @param fit whose cameras are about right, even if their relative position is not
std::vector<bool> findSwapped(const std::vector<const BoardView*>& views, const Board& board,
                              const PairFit& fit);

/// Why all views together give no rig, if all images of one camera were turned or mirrored.
/// @param views as they were found
/// @param fit of them
/// @param isPoor whether that fit leaves something to explain
std::optional<Note> findChangedCamera(const std::vector<const BoardView*>& views, const cv::Size& imageSize,
                                      const Board& board, const LensModel& lens, const PairFit& fit,
                                      bool isPoor);

/// The share of the squared residuals that goes when rows are taken to be exposed one after the other while
/// the board moves: what is near 1 has that cause, and what is small has another one.
double explainByRollingShutter(const std::vector<const BoardView*>& views, const Board& board,
                               const PairFit& fit);

} // namespace vision::toolkit

#endif
