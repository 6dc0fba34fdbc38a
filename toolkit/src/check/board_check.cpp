// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/check/board_check.h>

#include "base/statistics.h"
#include "check/distances.h"

#include <vision/toolkit/depth/depth_pipeline.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <map>

namespace vision::toolkit {

namespace {

/// Where the points of a board are in a rectified image, by number.
std::map<int, cv::Point2d> rectify(const BoardDetection& detection, const Calibration& camera)
{
    std::vector<cv::Point2f> corners;
    cv::undistortPoints(detection.corners,
                        corners,
                        camera.cameraMatrix,
                        camera.distortion,
                        camera.rectificationMatrix,
                        camera.projectionMatrix);
    std::map<int, cv::Point2d> byNumber;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        byNumber[detection.ids[i]] = corners[i];
    }
    return byNumber;
}

/// The points that both images show, by number.
using BoardMatches = std::map<int, FeatureMatch>;

BoardMatches findMatches(const RawPair& images, const Board& board, const CalibrationPair& calibrations)
{
    BoardMatches matches;
    const BoardDetection left = findBoard(images.left, board, Effort::Usual);
    if (left.empty()) {
        return matches;
    }
    const BoardDetection right = findBoard(images.right, board, Effort::Usual);
    const cv::Size size = images.left.size();
    const double scale = static_cast<double>(calibrations.left.width) / size.width;
    const auto inRight = rectify(right, calibrations.right.scaleTo(size.width, size.height));
    for (const auto& [number, point] : rectify(left, calibrations.left.scaleTo(size.width, size.height))) {
        const auto partner = inRight.find(number);
        if (partner != inRight.end()) {
            matches[number] = {point * scale, partner->second * scale};
        }
    }
    return matches;
}

std::vector<BoardEdge> listEdges(const BoardMatches& matches, const Board& board)
{
    constexpr double tolerance = 1e-3;
    const std::vector<cv::Point3f> printed = makeBoardPoints(board);
    std::vector<BoardEdge> edges;
    for (auto first = matches.begin(); first != matches.end(); ++first) {
        for (auto second = std::next(first); second != matches.end(); ++second) {
            const double distance = cv::norm(printed[static_cast<std::size_t>(first->first)] -
                                             printed[static_cast<std::size_t>(second->first)]);
            if (std::abs(distance - board.spacing) < tolerance * board.spacing) {
                edges.push_back({first->second, second->second, board.spacing});
            }
        }
    }
    return edges;
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

/// The points of the depth image within the outline of the board.
std::vector<cv::Vec3d> listPoints(const DepthResult& depth, const std::vector<cv::Point2f>& corners,
                                  double& fillRate)
{
    std::vector<cv::Point2f> hull;
    cv::convexHull(corners, hull);
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
    fillRate = static_cast<double>(points.size()) / std::max(cv::countNonZero(mask), 1);
    return points;
}

void measureDepth(const DepthResult& depth, const std::vector<cv::Point2f>& corners,
                  const std::vector<cv::Vec3d>& triangulated, BoardCheck& check)
{
    constexpr std::size_t fewest = 100;
    std::vector<cv::Vec3d> points = listPoints(depth, corners, check.fillRate);
    if (points.size() < fewest) {
        return;
    }
    const Plane board = fitPlane(triangulated);
    std::vector<double> errors;
    errors.reserve(points.size());
    for (const cv::Vec3d& point : points) {
        errors.push_back(point[2] - board.depthAlong(point));
    }
    check.absoluteError = median(std::move(errors));
    const auto inliers = dropOutliers(std::move(points), board);
    check.planeRms = rms(distancesOf(inliers, fitPlane(inliers)));
}

/// The median of those that are known.
std::optional<double> medianOfKnown(const std::vector<BoardCheck>& boards,
                                    std::optional<double> BoardCheck::*figure)
{
    std::vector<double> values;
    for (const BoardCheck& board : boards) {
        if (board.*figure) {
            values.push_back(*(board.*figure));
        }
    }
    return values.empty() ? std::nullopt : std::optional(median(std::move(values)));
}

} // namespace

std::optional<BoardCheck> checkBoard(const ImagePair& pair, const Board& board,
                                     const CalibrationPair& calibrations)
{
    DepthSettings settings;
    settings.judgeEvery = 0;
    DepthPipeline pipeline(makeRig(calibrations), settings);
    const RawPair images{pair.left.grey, pair.right.grey};
    (void)pipeline.rectify(images); // refuses images that do not fit before anything is scaled
    const BoardMatches matches = findMatches(images, board, calibrations);
    const Triangulation triangulate(calibrations);
    const double scale = static_cast<double>(images.left.cols) / calibrations.left.width;
    std::vector<cv::Vec3d> points;
    std::vector<cv::Point2f> corners;
    std::vector<double> depths;
    for (const auto& [number, match] : matches) {
        points.push_back(triangulate(match));
        corners.emplace_back(match.left * scale);
        depths.push_back(points.back()[2]);
        if (!(depths.back() > 0 && std::isfinite(depths.back()))) {
            return std::nullopt; // no calibration of these cameras, or swapped images
        }
    }
    BoardCheck check;
    check.edges = listEdges(matches, board);
    if (check.edges.empty()) {
        return std::nullopt;
    }
    cv::Scalar mean, deviation;
    cv::meanStdDev(measureEdges(check.edges, triangulate), mean, deviation);
    check.squareMean = mean[0];
    check.squareDeviation = deviation[0];
    check.distance = median(std::move(depths));
    measureDepth(pipeline.compute(images.left, images.right), corners, points, check);
    return check;
}

BoardSummary summariseBoards(const std::vector<BoardCheck>& boards)
{
    constexpr double leastSpread = 0.002; // between boards: a tenth of a pixel at a disparity of 50
    std::vector<double> means, deviations, rates;
    for (const BoardCheck& board : boards) {
        means.push_back(board.squareMean);
        deviations.push_back(board.squareDeviation);
        rates.push_back(board.fillRate);
    }
    cv::Scalar mean, between;
    cv::meanStdDev(means, mean, between);
    const auto count = static_cast<double>(boards.size());
    const double spread = between[0] * std::sqrt(count / std::max(count - 1, 1.0));
    return {boards.size(),
            mean[0],
            std::hypot(rms(deviations), between[0]),
            std::max(spread, leastSpread) / std::sqrt(count),
            median(std::move(rates)),
            medianOfKnown(boards, &BoardCheck::planeRms),
            medianOfKnown(boards, &BoardCheck::absoluteError)};
}

} // namespace vision::toolkit
