#include <vision/toolkit/calibrating/board.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <limits>

namespace vision::toolkit {

namespace {

double findSmallestSpacing(const Corners& corners, const cv::Size& board)
{
    const auto columns = static_cast<std::size_t>(board.width);
    double smallest = std::numeric_limits<double>::max();
    for (std::size_t i = 0; i < corners.size(); ++i) {
        if (i % columns > 0) {
            smallest = std::min(smallest, cv::norm(corners[i] - corners[i - 1]));
        }
        if (i >= columns) {
            smallest = std::min(smallest, cv::norm(corners[i] - corners[i - columns]));
        }
    }
    return smallest;
}

/// Finds the corners to a few pixels. The search is made for images of moderate size: in larger ones it is slow
/// and misses boards, so it gets a smaller copy first.
Corners searchBoard(const cv::Mat& grey, const cv::Size& board)
{
    constexpr double moderate = 1280; // px
    Corners corners;
    const double factor = moderate / std::max(grey.cols, grey.rows);
    if (factor < 1) {
        cv::Mat small;
        cv::resize(grey, small, {}, factor, factor, cv::INTER_AREA);
        if (cv::findChessboardCorners(small, board, corners)) {
            for (cv::Point2f& corner : corners) {
                const cv::Point2d inGrey = (cv::Point2d(corner) + cv::Point2d(0.5, 0.5)) / factor;
                corner = inGrey - cv::Point2d(0.5, 0.5); // whole numbers are the centres of pixels
            }
            return corners;
        }
    }
    return cv::findChessboardCorners(grey, board, corners) ? corners : Corners();
}

} // namespace

Corners findBoard(const cv::Mat& grey, const cv::Size& board)
{
    Corners corners = searchBoard(grey, board);
    if (corners.empty()) {
        return corners;
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

} // namespace vision::toolkit
