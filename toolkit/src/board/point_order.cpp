// SPDX-License-Identifier: Apache-2.0
#include "board/point_order.h"

#include <algorithm>
#include <utility>

namespace vision::toolkit {

namespace {

/// The directions, as long as the board, in which its rows and columns run.
std::pair<cv::Point2f, cv::Point2f> findAxes(const Corners& corners, const cv::Size& size)
{
    const auto columns = static_cast<std::size_t>(size.width);
    const cv::Point2f& first = corners.front();
    const cv::Point2f& last = corners.back();
    const cv::Point2f& endOfFirstRow = corners[columns - 1];
    const cv::Point2f& startOfLastRow = corners[corners.size() - columns];
    return {endOfFirstRow - first + last - startOfLastRow, startOfLastRow - first + last - endOfFirstRow};
}

/// Turns a board of as many rows as columns by 90 degrees.
Corners turnByQuarter(const Corners& corners, int size)
{
    Corners turned;
    for (int row = 0; row < size; ++row) {
        for (int column = 0; column < size; ++column) {
            const int place = (size - 1 - column) * size + row;
            turned.push_back(corners[static_cast<std::size_t>(place)]);
        }
    }
    return turned;
}

} // namespace

void agreeOnOrder(const Board& board, BoardView& view)
{
    if (!canBeTurned(board)) {
        return;
    }
    std::vector<Corners> orders{view.right, {view.right.rbegin(), view.right.rend()}};
    if (board.size.width == board.size.height && board.pattern != Pattern::AsymmetricCircles) {
        for (std::size_t i = 0; i < 2; ++i) {
            orders.push_back(turnByQuarter(orders[i], board.size.width));
        }
    }
    const auto [leftRow, leftColumn] = findAxes(view.left, board.size);
    const auto measureAgreement = [&, row = leftRow, column = leftColumn](const Corners& order) {
        const auto [orderRow, orderColumn] = findAxes(order, board.size);
        return row.dot(orderRow) + column.dot(orderColumn);
    };
    view.right = *std::max_element(
        orders.begin(), orders.end(), [&measureAgreement](const Corners& a, const Corners& b) {
            return measureAgreement(a) < measureAgreement(b);
        });
}

Corners undo(ImageChange change, const Corners& corners, const cv::Size& image, int columns)
{
    const cv::Point2f middle(static_cast<float>(image.width - 1) / 2,
                             static_cast<float>(image.height - 1) / 2);
    Corners undone;
    for (const cv::Point2f& corner : corners) {
        const auto [x, y] = corner - middle;
        const cv::Point2f moved = change == ImageChange::Turned               ? cv::Point2f(-x, -y)
                                  : change == ImageChange::TurnedRight        ? cv::Point2f(y, -x)
                                  : change == ImageChange::TurnedLeft         ? cv::Point2f(-y, x)
                                  : change == ImageChange::Mirrored           ? cv::Point2f(-x, y)
                                  : change == ImageChange::MirroredUpsideDown ? cv::Point2f(x, -y)
                                                                              : cv::Point2f(x, y);
        undone.push_back(moved + middle);
    }
    if (change == ImageChange::Mirrored || change == ImageChange::MirroredUpsideDown) {
        for (auto row = undone.begin(); undone.end() - row >= columns; row += columns) {
            std::reverse(row, row + columns);
        }
    }
    return undone;
}

} // namespace vision::toolkit
