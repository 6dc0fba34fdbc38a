// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/board/board_search.h>
#include <vision/toolkit/failure.h>

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <ctime>

using namespace vision::toolkit;

namespace {

Board makeBoard(const cv::Size& size)
{
    Board board;
    board.size = size;
    return board;
}

/// A chessboard of 10 x 7 squares with that edge in px, turned a little, on white; and its inner corners.
std::pair<cv::Mat, Corners> makeBoardImage(const cv::Size& size, int edge)
{
    cv::Mat board(9 * edge, 12 * edge, CV_8UC1, cv::Scalar(255));
    for (int row = 0; row < 7; ++row) {
        for (int column = row % 2; column < 10; column += 2) {
            board(cv::Rect((column + 1) * edge, (row + 1) * edge, edge, edge)) = 0;
        }
    }
    cv::Matx23d turn = cv::getRotationMatrix2D(cv::Point2d(6 * edge, 4.5 * edge), 5, 1);
    turn(0, 2) += size.width / 2.0 - 6 * edge;
    turn(1, 2) += size.height / 2.0 - 4.5 * edge;
    cv::Mat image;
    cv::warpAffine(board, image, turn, size, cv::INTER_LINEAR, cv::BORDER_CONSTANT, 255);
    cv::GaussianBlur(image, image, {}, 1);
    Corners corners;
    for (int i = 0; i < 9 * 6; ++i) { // between two pixels, whose centres are whole numbers
        const cv::Vec2d corner = turn * cv::Vec3d((i % 9 + 2) * edge - 0.5, (i / 9 + 2) * edge - 0.5, 1);
        corners.emplace_back(cv::Vec2f(corner));
    }
    return {image, corners};
}

TEST(BoardInImages, IsFoundInImagesOfAnySize)
{
    const std::pair<cv::Size, int> rows[] = {
        {{640, 480}, 40},
        {{3200, 2400}, 240}, // searched in a smaller copy
        {{3200, 2400}, 12},  // which this one is too small for
    };
    for (const auto& [size, edge] : rows) {
        const auto [image, expected] = makeBoardImage(size, edge);
        Corners found = findBoard(image, makeBoard({9, 6}), Effort::Quick).corners;
        ASSERT_EQ(found.size(), expected.size()) << size << ", squares of " << edge << " px";
        if (cv::norm(found.front() - expected.front()) > edge) {
            std::reverse(found.begin(), found.end());
        }
        EXPECT_LT(cv::norm(found, expected, cv::NORM_INF), 0.1) << size << ", squares of " << edge << " px";
    }
    EXPECT_TRUE(findBoard(makeBoardImage({640, 480}, 40).first, makeBoard({8, 6}), Effort::Thorough).empty());
}

/// Squares of that many px all over the image.
cv::Mat makeFinePattern(int edge)
{
    cv::Mat image(480, 640, CV_8UC1);
    for (int row = 0; row < image.rows; ++row) {
        for (int column = 0; column < image.cols; ++column) {
            image.at<unsigned char>(row, column) = (row / edge + column / edge) % 2 == 0 ? 255 : 0;
        }
    }
    return image;
}

TEST(BoardInImages, IsFoundInFrontOfAFinePatternAndNotSearchedForLongInIt)
{
    const std::clock_t before = std::clock();
    EXPECT_TRUE(findBoard(makeFinePattern(5), makeBoard({9, 6}), Effort::Thorough).empty());
    EXPECT_LT(std::clock() - before, 10 * CLOCKS_PER_SEC); // a minute without counting the squares

    cv::Mat image = makeFinePattern(5);
    const cv::Mat board = makeBoardImage({640, 480}, 30).first;
    board(cv::Rect(120, 90, 400, 300)).copyTo(image(cv::Rect(120, 90, 400, 300)));
    EXPECT_EQ(findBoard(image, makeBoard({9, 6}), Effort::Usual).ids.size(), 54U);
}

TEST(BoardInImages, OfAnotherKindIsNamed)
{
    cv::Mat circles(480, 640, CV_8UC1, cv::Scalar(255));
    for (int i = 0; i < 9 * 6; ++i) {
        cv::circle(circles, {100 + 50 * (i % 9), 100 + 50 * (i / 9)}, 14, 0, cv::FILLED, cv::LINE_AA);
    }
    const auto pairs = makePairs({{circles, circles}, {circles, circles}});
    try {
        findBoards(*pairs, makeBoard({9, 6}));
        FAIL();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.note().code, "board-is-circles");
    }
}

TEST(BoardInImages, HasItsCirclesWhereTheyAreInLargeImages)
{
    cv::Mat image(1500, 2000, CV_8UC1, cv::Scalar(255)); // searched in smaller copies
    Corners expected;
    for (int i = 0; i < 5 * 4; ++i) {
        expected.emplace_back(cv::Point(400 + 300 * (i % 5), 300 + 300 * (i / 5)));
        cv::circle(image, expected.back(), 80, 0, cv::FILLED, cv::LINE_AA);
    }
    Board board = makeBoard({5, 4});
    board.pattern = Pattern::Circles;
    const Corners found = findBoard(image, board, Effort::Usual).corners;
    ASSERT_EQ(found.size(), expected.size());
    EXPECT_NEAR(cv::mean(found)[0], cv::mean(expected)[0], 0.2);
    EXPECT_NEAR(cv::mean(found)[1], cv::mean(expected)[1], 0.2);
}

} // namespace
