// SPDX-License-Identifier: Apache-2.0
/// @file
/// Boards on paper, and images that cameras without distortion take of them.
#ifndef SUPPORT_PRINTED_BOARD_H
#define SUPPORT_PRINTED_BOARD_H

#include <vision/toolkit/board/board.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <vector>

#ifdef HAS_ARUCO
#include <opencv2/aruco/charuco.hpp>
#endif

namespace support {

using vision::toolkit::Board;
using vision::toolkit::Pattern;

inline Board makeBoard(Pattern pattern, const cv::Size& size)
{
    Board board;
    board.pattern = pattern;
    board.size = size;
    board.spacing = pattern == Pattern::AsymmetricCircles ? 0.015 : 0.025;
    board.markerSize = 0.018;
    board.dictionary = "DICT_4X4_50";
    return board;
}

/// A position of the board: from its points to the left camera's frame; Y down, Z forward.
struct Pose
{
    cv::Matx33d rotation;
    cv::Vec3d translation;

    cv::Vec3d place(const cv::Point3f& point) const
    {
        return rotation * cv::Vec3d(point.x, point.y, point.z) + translation;
    }
};

/// Positions all over the image, tilted to all sides.
/// @param tilt rad
/// @param distance m, of the nearest ones
/// @param spread how far from the axis the farthest ones are, over their distance
inline std::vector<Pose> makePoses(const Board& board, int count, double tilt, double distance, double spread)
{
    const auto points = makeBoardPoints(board);
    const cv::Point3f middle = (points.front() + points.back()) / 2;
    std::vector<Pose> poses;
    for (int i = 0; i < count; ++i) {
        const double angle = 2.4 * i; // the golden angle: no two alike
        const double reach = spread * std::sqrt(i / (count - 1.0));
        Pose pose;
        cv::Matx33d roll;
        cv::Rodrigues(cv::Vec3d(tilt * std::cos(angle), tilt * std::sin(angle), 0), pose.rotation);
        cv::Rodrigues(cv::Vec3d(0, 0, 0.1 * (i % 5 - 2)), roll);
        pose.rotation = pose.rotation * roll;
        const cv::Vec3d centre(1.3 * reach * std::sin(angle) + 0.05, reach * std::cos(angle), 1);
        pose.translation =
            distance * (1 + 0.1 * (i % 3)) * centre - pose.rotation * cv::Vec3d(middle.x, middle.y, 0);
        poses.push_back(pose);
    }
    return poses;
}

/// A board on white paper.
struct Print
{
    cv::Mat picture;
    double scale;      ///< px per m
    cv::Point2d first; ///< where its first point is, px
};

inline void printSquares(const cv::Size& size, double spacing, Print& print)
{
    for (int row = 0; row <= size.height; ++row) {
        for (int column = row % 2; column <= size.width; column += 2) {
            const cv::Point corner(cvRound(print.first.x + (column - 1) * spacing),
                                   cvRound(print.first.y + (row - 1) * spacing));
            print.picture(cv::Rect(corner, cv::Size(cvRound(spacing), cvRound(spacing)))) = 0;
        }
    }
}

inline void printCircles(const Board& board, double spacing, Print& print)
{
    const double radius = (board.pattern == Pattern::Circles ? 0.3 : 0.5) * spacing;
    for (const cv::Point3f& point : makeBoardPoints(board)) {
        const cv::Point centre(cvRound(print.first.x + point.x * print.scale),
                               cvRound(print.first.y + point.y * print.scale));
        cv::circle(print.picture, centre, cvRound(radius), 0, cv::FILLED, cv::LINE_AA);
    }
}

#ifdef HAS_ARUCO
inline void printMarkers(const Board& board, double spacing, Print& print)
{
    const auto drawn = cv::aruco::CharucoBoard::create(board.size.width + 1,
                                                       board.size.height + 1,
                                                       static_cast<float>(board.spacing),
                                                       static_cast<float>(board.markerSize),
                                                       cv::aruco::getPredefinedDictionary(0));
    const cv::Rect area(cvRound(spacing),
                        cvRound(spacing),
                        cvRound((board.size.width + 1) * spacing),
                        cvRound((board.size.height + 1) * spacing));
    cv::Mat part = print.picture(area);
    drawn->draw(area.size(), part);
}
#endif

inline Print print(const Board& board)
{
    constexpr double scale = 4000; // px per m
    const double spacing = board.spacing * scale;
    const cv::Point3f last = makeBoardPoints(board).back();
    const cv::Size size(cvRound(last.x * scale + 5 * spacing), cvRound(last.y * scale + 4 * spacing));
    Print made{cv::Mat(size, CV_8U, cv::Scalar(255)), scale, cv::Point2d(2 * spacing, 2 * spacing)};
    if (board.pattern == Pattern::Chessboard) {
        printSquares(board.size, spacing, made);
    } else if (board.pattern != Pattern::Charuco) {
        printCircles(board, spacing, made);
    }
#ifdef HAS_ARUCO
    if (board.pattern == Pattern::Charuco) {
        printMarkers(board, spacing, made);
    }
#endif
    return made;
}

/// Takes an image of a board in front of a scene.
/// @param position of the camera in the left camera's frame, m
inline cv::Mat photograph(const Print& print, const Pose& pose, const cv::Matx33d& camera,
                          const cv::Vec3d& position, const cv::Mat& scene)
{
    std::vector<cv::Point2f> from;
    std::vector<cv::Point2f> to;
    for (const cv::Point3f& corner : {cv::Point3f(0, 0, 0),
                                      cv::Point3f(0.2F, 0, 0),
                                      cv::Point3f(0, 0.2F, 0),
                                      cv::Point3f(0.2F, 0.2F, 0)}) {
        from.emplace_back(static_cast<float>(print.first.x + corner.x * print.scale),
                          static_cast<float>(print.first.y + corner.y * print.scale));
        const cv::Vec3d seen = camera * (pose.place(corner) - position);
        to.emplace_back(static_cast<float>(seen[0] / seen[2]), static_cast<float>(seen[1] / seen[2]));
    }
    cv::Mat image = scene.clone();
    cv::warpPerspective(print.picture,
                        image,
                        cv::getPerspectiveTransform(from, to),
                        image.size(),
                        cv::INTER_LINEAR,
                        cv::BORDER_TRANSPARENT);
    cv::GaussianBlur(image, image, {}, 0.8);
    return image;
}

} // namespace support

#endif
