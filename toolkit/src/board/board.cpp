// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/board/board.h>

#include "board/detection/detection.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace vision::toolkit {

namespace {

BoardDetection seeAll(Corners corners)
{
    BoardDetection detection;
    detection.ids.resize(corners.size());
    std::iota(detection.ids.begin(), detection.ids.end(), 0);
    detection.corners = std::move(corners);
    return detection;
}

/// How far a point of a parabola with that sag lies nearer to the middle than its way along the curve, by
/// the first term of the series.
double shorten(double place, double sag, double half)
{
    const double slope = 2 * sag / half; // at the end
    return slope * slope * place * place * place / (6 * half * half);
}

void bendPoints(std::vector<cv::Point3f>& points, const cv::Vec3d& bend)
{
    const cv::Point3d middle = cv::Point3d(points.front() + points.back()) / 2;
    double halfWidth = 0;
    for (const cv::Point3f& point : points) { // asymmetric grids end elsewhere in every other row
        halfWidth = std::max(halfWidth, std::abs(point.x - middle.x));
    }
    const double halfHeight = points.back().y - middle.y;
    for (cv::Point3f& point : points) {
        const double x = point.x - middle.x;
        const double y = point.y - middle.y;
        const double u = x / halfWidth;
        const double v = y / halfHeight;
        point = cv::Point3d(point.x - shorten(x, bend[0], halfWidth),
                            point.y - shorten(y, bend[1], halfHeight),
                            bend[0] * (1 - u * u) + bend[1] * (1 - v * v) + bend[2] * u * v);
    }
}

} // namespace

BoardDetection findBoard(const cv::Mat& grey, const Board& board, Effort effort)
{
    switch (board.pattern) {
    case Pattern::Chessboard:
        return seeAll(findChessboard(grey, board.size, effort));
    case Pattern::Charuco:
        return findCharuco(grey, board);
    case Pattern::Circles:
    case Pattern::AsymmetricCircles:
        break;
    }
    return seeAll(findCircles(grey, board));
}

Board flatten(Board board)
{
    board.bend = {};
    return board;
}

std::vector<cv::Point3f> makeBoardPoints(const Board& board)
{
    const bool isMoved = board.pattern == Pattern::AsymmetricCircles;
    std::vector<cv::Point3f> points;
    for (int row = 0; row < board.size.height; ++row) {
        for (int column = 0; column < board.size.width; ++column) {
            const int x = isMoved ? 2 * column + row % 2 : column;
            points.emplace_back(
                static_cast<float>(x * board.spacing), static_cast<float>(row * board.spacing), 0.0f);
        }
    }
    if (board.bend != cv::Vec3d()) {
        bendPoints(points, board.bend);
    }
    return points;
}

std::vector<cv::Point3f> makeBoardPoints(const Board& board, const std::vector<int>& numbers)
{
    const auto all = makeBoardPoints(board);
    std::vector<cv::Point3f> points;
    points.reserve(numbers.size());
    for (const int number : numbers) {
        points.push_back(all[static_cast<std::size_t>(number)]);
    }
    return points;
}

bool canBeTurned(const Board& board)
{
    return board.pattern == Pattern::Chessboard || board.pattern == Pattern::Circles ||
           (board.pattern == Pattern::AsymmetricCircles && board.size.height % 2 == 0);
}

} // namespace vision::toolkit
