#ifndef VISION_TOOLKIT_CALIBRATING_BOARD_H
#define VISION_TOOLKIT_CALIBRATING_BOARD_H

#include <vision/toolkit/export.h>

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <vector>

namespace vision::toolkit {

using Corners = std::vector<cv::Point2f>;

/// Finds the inner corners of a chessboard with sub-pixel accuracy, row by row.
/// @param grey `CV_8UC1`
/// @param board inner corners per row and per column
/// @return empty when the whole board is not seen
VISION_TOOLKIT_EXPORT Corners findBoard(const cv::Mat& grey, const cv::Size& board);

/// The same corners on the board itself, in the plane z = 0.
/// @param square edge length of a square
VISION_TOOLKIT_EXPORT std::vector<cv::Point3f> makeBoardPoints(const cv::Size& board, double square);

} // namespace vision::toolkit

#endif
