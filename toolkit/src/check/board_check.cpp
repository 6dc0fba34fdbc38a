// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/check/board_check.h>

#include "base/statistics.h"

#include <vision/toolkit/depth/depth_pipeline.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <map>

namespace vision::toolkit {

namespace {

/// The points of a board by number: where they are in the rectified left image, and in space.
struct SeenBoard
{
    std::vector<cv::Point2f> corners;
    std::map<int, cv::Vec3d> points;
};

std::map<int, cv::Point2f> rectify(const BoardDetection& detection, const Calibration& camera)
{
    std::vector<cv::Point2f> corners;
    cv::undistortPoints(detection.corners,
                        corners,
                        camera.cameraMatrix,
                        camera.distortion,
                        camera.rectificationMatrix,
                        camera.projectionMatrix);
    std::map<int, cv::Point2f> byNumber;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        byNumber[detection.ids[i]] = corners[i];
    }
    return byNumber;
}

SeenBoard triangulate(const std::map<int, cv::Point2f>& left, const std::map<int, cv::Point2f>& right,
                      const CalibrationPair& calibrations, const DepthScale& scale)
{
    const cv::Matx34f projection = calibrations.left.projectionMatrix;
    const double f = projection(0, 0);
    SeenBoard board;
    for (const auto& [number, corner] : left) {
        const auto partner = right.find(number);
        if (partner != right.end()) {
            const double z = scale.depthAt(double{corner.x} - double{partner->second.x});
            board.corners.push_back(corner);
            board.points[number] = {
                (corner.x - projection(0, 2)) * z / f, (corner.y - projection(1, 2)) * z / f, z};
        }
    }
    return board;
}

/// The distances of points that are neighbours on the board, over that distance.
std::vector<double> measureSquares(const SeenBoard& seen, const Board& board)
{
    const std::vector<cv::Point3f> printed = makeBoardPoints(board);
    constexpr double tolerance = 1e-3;
    std::vector<double> squares;
    for (auto first = seen.points.begin(); first != seen.points.end(); ++first) {
        for (auto second = std::next(first); second != seen.points.end(); ++second) {
            const double distance = cv::norm(printed[static_cast<std::size_t>(first->first)] -
                                             printed[static_cast<std::size_t>(second->first)]);
            if (std::abs(distance - board.spacing) < tolerance * board.spacing) {
                squares.push_back(cv::norm(first->second - second->second) / board.spacing);
            }
        }
    }
    return squares;
}

/// A plane n x = d.
struct Plane
{
    cv::Vec3d normal;
    double offset;

    double distanceOf(const cv::Vec3d& point) const { return normal.dot(point) - offset; }
    /// The depth of the plane where the ray to a point meets it.
    double depthAlong(const cv::Vec3d& point) const { return offset / normal.dot(point / point[2]); }
};

Plane fitPlane(const std::vector<cv::Vec3d>& points)
{
    const cv::Mat data = cv::Mat(points).reshape(1);
    const cv::PCA axes(data, cv::Mat(), cv::PCA::DATA_AS_ROW);
    const auto* const last = axes.eigenvectors.ptr<double>(2); // along which the points vary least
    const cv::Vec3d normal(last[0], last[1], last[2]);
    return {normal,
            normal.dot(cv::Vec3d(axes.mean.at<double>(0), axes.mean.at<double>(1), axes.mean.at<double>(2)))};
}

std::vector<double> distancesOf(const std::vector<cv::Vec3d>& points, const Plane& plane)
{
    std::vector<double> distances;
    distances.reserve(points.size());
    for (const cv::Vec3d& point : points) {
        distances.push_back(plane.distanceOf(point));
    }
    return distances;
}

/// Drops points beyond three spreads from the plane of the board, which wrong matches do not move.
std::vector<cv::Vec3d> dropOutliers(std::vector<cv::Vec3d> points, const Plane& board)
{
    constexpr double outlier = 3;
    const MedianAndSpread all = medianAndSpread(distancesOf(points, board));
    const auto isOutlier = [&](const cv::Vec3d& point) {
        return std::abs(board.distanceOf(point) - all.median) > outlier * all.spread;
    };
    points.erase(std::remove_if(points.begin(), points.end(), isOutlier), points.end());
    return points;
}

void measureDepth(const PairDepth& depth, const SeenBoard& seen, BoardCheck& check)
{
    constexpr std::size_t fewest = 100;
    std::vector<cv::Point2f> hull;
    cv::convexHull(seen.corners, hull);
    cv::Mat mask = cv::Mat::zeros(depth.disparity.size(), CV_8UC1);
    cv::fillConvexPoly(mask, std::vector<cv::Point>(hull.begin(), hull.end()), cv::Scalar(255));
    std::vector<cv::Vec3d> points;
    for (int row = 0; row < mask.rows; ++row) {
        for (int column = 0; column < mask.cols; ++column) {
            const auto& point = depth.points.at<cv::Vec3f>(row, column);
            if (mask.at<unsigned char>(row, column) != 0 && isTrusted(point)) {
                points.emplace_back(point);
            }
        }
    }
    check.fillRate = static_cast<double>(points.size()) / std::max(cv::countNonZero(mask), 1);
    if (points.size() < fewest) {
        return;
    }
    std::vector<cv::Vec3d> corners;
    corners.reserve(seen.points.size());
    for (const auto& [number, point] : seen.points) {
        corners.push_back(point);
    }
    const Plane board = fitPlane(corners);
    std::vector<double> errors;
    errors.reserve(points.size());
    for (const cv::Vec3d& point : points) {
        errors.push_back(point[2] - board.depthAlong(point));
    }
    check.absoluteError = medianAndSpread(std::move(errors)).median;
    const auto inliers = dropOutliers(std::move(points), board);
    const auto distances = distancesOf(inliers, fitPlane(inliers));
    check.planeRms = cv::norm(distances) / std::sqrt(static_cast<double>(distances.size()));
}

} // namespace

std::optional<BoardCheck> checkBoard(const ImagePair& pair, const Board& board,
                                     const CalibrationPair& calibrations)
{
    const Rig rig = makeRig(calibrations);
    DepthPipeline pipeline(rig, DepthSettings{});
    const cv::Size size = pair.left.grey.size();
    const PairDepth depth =
        pipeline.compute(pair); // refuses images that do not fit before anything is scaled
    const BoardDetection left = findBoard(pair.left.grey, board, Effort::Usual);
    const BoardDetection right = findBoard(pair.right.grey, board, Effort::Usual);
    if (left.empty() || right.empty()) {
        return std::nullopt;
    }
    const CalibrationPair scaled{calibrations.left.scaleTo(size.width, size.height),
                                 calibrations.right.scaleTo(size.width, size.height)};
    const SeenBoard seen = triangulate(
        rectify(left, scaled.left), rectify(right, scaled.right), scaled, *findDepthScale(rig, size.width));
    BoardCheck check;
    check.squares = measureSquares(seen, board);
    std::vector<double> depths;
    depths.reserve(seen.points.size());
    for (const auto& [number, point] : seen.points) {
        depths.push_back(point[2]);
    }
    check.distance = medianAndSpread(std::move(depths)).median;
    measureDepth(depth, seen, check);
    return check;
}

BoardSummary summariseBoards(const std::vector<BoardCheck>& checks)
{
    std::vector<double> squares, rms, errors, rates;
    for (const BoardCheck& check : checks) {
        squares.insert(squares.end(), check.squares.begin(), check.squares.end());
        rms.push_back(check.planeRms);
        errors.push_back(check.absoluteError);
        rates.push_back(check.fillRate);
    }
    cv::Scalar mean, deviation;
    cv::meanStdDev(squares, mean, deviation);
    return {checks.size(),
            mean[0],
            deviation[0],
            medianAndSpread(std::move(rms)).median,
            medianAndSpread(std::move(errors)).median,
            medianAndSpread(std::move(rates)).median};
}

} // namespace vision::toolkit
