#include "calibrating/board.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <limits>

namespace tool {

namespace {

double findSmallestSpacing(const Corners& corners, const cv::Size& board)
{
    double smallest = std::numeric_limits<double>::max();
    for (int row = 0; row < board.height; ++row) {
        for (int column = 0; column < board.width; ++column) {
            const auto at = [&](int r, int c) {
                return corners[static_cast<std::size_t>(r * board.width + c)];
            };
            if (column > 0) {
                smallest = std::min(smallest, cv::norm(at(row, column) - at(row, column - 1)));
            }
            if (row > 0) {
                smallest = std::min(smallest, cv::norm(at(row, column) - at(row - 1, column)));
            }
        }
    }
    return smallest;
}

} // namespace

Corners findBoard(const cv::Mat& grey, const cv::Size& board)
{
    Corners corners;
    if (!cv::findChessboardCorners(grey, board, corners)) {
        return {};
    }
    // A window that reaches the next corner spoils the refinement, one much smaller sees too few pixels.
    const int half = std::max(2, cvRound(findSmallestSpacing(corners, board) / 3));
    const cv::TermCriteria stop(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 100, 0.001);
    cv::cornerSubPix(grey, corners, {half, half}, {-1, -1}, stop);
    return corners;
}

std::vector<cv::Point3f> makeBoardPoints(const cv::Size& board, double square)
{
    std::vector<cv::Point3f> points;
    for (int row = 0; row < board.height; ++row) {
        for (int column = 0; column < board.width; ++column) {
            points.emplace_back(static_cast<float>(column * square), static_cast<float>(row * square), 0.0f);
        }
    }
    return points;
}

} // namespace tool
