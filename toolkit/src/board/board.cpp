// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/board/board.h>

#include "board/detection/detection.h"

#include <numeric>

namespace vision::toolkit {

namespace {

BoardDetection seeAll(Corners corners)
{
    BoardDetection sighting;
    sighting.points.resize(corners.size());
    std::iota(sighting.points.begin(), sighting.points.end(), 0);
    sighting.corners = std::move(corners);
    return sighting;
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
