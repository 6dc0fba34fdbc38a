// SPDX-License-Identifier: Apache-2.0
#include "calibration/quality.h"

#include "base/statistics.h"
#include "calibration/rectification.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace vision::toolkit {

namespace {

const Corners& seenIn(const FittedView& view, Side side)
{
    return side == Side::Left ? view.view.left : view.view.right;
}

const Corners& expectedIn(const FittedView& view, Side side)
{
    return side == Side::Left ? view.pose.left : view.pose.right;
}

cv::Point2d fromCentre(const cv::Point2f& corner, const cv::Size& imageSize)
{
    return {corner.x - (imageSize.width - 1) / 2.0, corner.y - (imageSize.height - 1) / 2.0};
}

std::array<double, 4> measureReach(const std::vector<const FittedView*>& used, const cv::Size& imageSize,
                                   Side side)
{
    const double whole = std::hypot(imageSize.width - 1, imageSize.height - 1) / 2;
    std::array<double, 4> reach{};
    for (const FittedView* view : used) {
        for (const cv::Point2f& corner : seenIn(*view, side)) {
            const cv::Point2d place = fromCentre(corner, imageSize);
            double& quarter = reach[(place.y > 0 ? 2U : 0U) + (place.x > 0 ? 1U : 0U)];
            quarter = std::max(quarter, cv::norm(place) / whole);
        }
    }
    return reach;
}

double measureResidualGrowth(const std::vector<const FittedView*>& used, const cv::Size& imageSize, Side side)
{
    std::vector<std::pair<double, double>> errors; // distance from the centre, squared residual
    for (const FittedView* view : used) {
        const Corners& seen = seenIn(*view, side);
        const Corners& expected = expectedIn(*view, side);
        for (std::size_t i = 0; i < seen.size(); ++i) {
            const cv::Point2f residual = seen[i] - expected[i];
            errors.emplace_back(cv::norm(fromCentre(seen[i], imageSize)), residual.dot(residual));
        }
    }
    std::sort(errors.begin(), errors.end());
    const std::size_t quarter = std::max<std::size_t>(errors.size() / 4, 1);
    double inner = 0;
    double outer = 0;
    for (std::size_t i = 0; i < quarter; ++i) {
        inner += errors[i].second;
        outer += errors[errors.size() - 1 - i].second;
    }
    return inner > 0 ? std::sqrt(outer / inner) : 1;
}

cv::Vec3d findNormal(const cv::Vec3d& axisAngle)
{
    cv::Matx33d rotation;
    cv::Rodrigues(axisAngle, rotation);
    return {rotation(0, 2), rotation(1, 2), rotation(2, 2)};
}

/// Degrees between two lines.
double toAngle(double cosine)
{
    return std::acos(std::min(1.0, std::abs(cosine))) * 180 / CV_PI;
}

double findLargestAngle(const std::vector<cv::Vec3d>& normals)
{
    double largest = 0;
    for (const cv::Vec3d& one : normals) {
        for (const cv::Vec3d& other : normals) {
            largest = std::max(largest, toAngle(one.dot(other)));
        }
    }
    return largest;
}

/// Distances of neighbouring points over those on the board.
void addSpacings(const FittedView& view, const std::vector<cv::Point3d>& points, const Board& board,
                 std::vector<double>& ratios)
{
    const auto boardPoints = makeBoardPoints(board);
    const auto& numbers = view.view.ids;
    for (std::size_t i = 0; i < points.size(); ++i) {
        for (const int step : {1, board.size.width}) {
            const int other = numbers[i] + step;
            const auto place = std::lower_bound(numbers.begin(), numbers.end(), other);
            const bool isNextRow = step == 1 && other % board.size.width == 0;
            if (place == numbers.end() || *place != other || isNextRow) {
                continue;
            }
            const double given = cv::norm(boardPoints[static_cast<std::size_t>(other)] -
                                          boardPoints[static_cast<std::size_t>(numbers[i])]);
            const auto j = static_cast<std::size_t>(place - numbers.begin());
            ratios.push_back(cv::norm(points[j] - points[i]) / given);
        }
    }
}

} // namespace

cv::Mat drawCovered(const std::vector<const FittedView*>& used, const cv::Size& imageSize, Side side)
{
    cv::Mat covered = cv::Mat::zeros(imageSize, CV_8U);
    for (const FittedView* view : used) {
        Corners hull;
        cv::convexHull(seenIn(*view, side), hull);
        const std::vector<cv::Point> outline(hull.begin(), hull.end());
        cv::fillConvexPoly(covered, outline, 255);
    }
    return covered;
}

std::pair<double, double> findSeenDistances(const std::vector<const FittedView*>& used, const Board& board)
{
    double nearest = std::numeric_limits<double>::max();
    double farthest = 0;
    for (const FittedView* view : used) {
        for (const cv::Point3f& point : makeBoardPoints(board, view->view.ids)) {
            const double distance = view->pose.toCamera(cv::Vec3d(point.x, point.y, point.z))[2];
            nearest = std::min(nearest, distance);
            farthest = std::max(farthest, distance);
        }
    }
    return {nearest, farthest};
}

CameraQuality measureCamera(const std::vector<const FittedView*>& used, const cv::Size& imageSize, Side side)
{
    CameraQuality quality;
    const cv::Mat covered = drawCovered(used, imageSize, side);
    quality.coveredArea =
        static_cast<double>(cv::countNonZero(covered)) / static_cast<double>(covered.total());
    quality.reach = measureReach(used, imageSize, side);
    quality.residualGrowth = measureResidualGrowth(used, imageSize, side);
    return quality;
}

double measureValidArea(const Calibration& record)
{
    const cv::Size size(record.width, record.height);
    cv::Mat x;
    cv::Mat y;
    cv::initUndistortRectifyMap(record.cameraMatrix,
                                record.distortion,
                                record.rectificationMatrix,
                                record.projectionMatrix,
                                size,
                                CV_32FC1,
                                x,
                                y);
    const cv::Mat valid = (x >= 0) & (x <= size.width - 1) & (y >= 0) & (y <= size.height - 1);
    return static_cast<double>(cv::countNonZero(valid)) / static_cast<double>(valid.total());
}

double findTilt(const BoardPose& pose)
{
    return toAngle(findNormal(pose.rotation)[2]);
}

double findTiltRange(const std::vector<const FittedView*>& used)
{
    std::vector<cv::Vec3d> normals;
    normals.reserve(used.size());
    for (const FittedView* view : used) {
        normals.push_back(findNormal(view->pose.rotation));
    }
    return findLargestAngle(normals);
}

double findCommonTiltRange(const std::vector<const FittedView*>& used, const BoardSearch& search)
{
    const double focalLength = search.imageSize.width; // an angle of 53 degrees across the image
    const cv::Matx33d camera(
        focalLength, 0, search.imageSize.width / 2.0, 0, focalLength, search.imageSize.height / 2.0, 0, 0, 1);
    std::vector<cv::Vec3d> normals;
    for (const FittedView* view : used) {
        cv::Vec3d rotation;
        cv::Vec3d translation;
        cv::solvePnP(makeBoardPoints(search.board, view->view.ids),
                     view->view.left,
                     camera,
                     cv::noArray(),
                     rotation,
                     translation);
        normals.push_back(findNormal(rotation));
    }
    return findLargestAngle(normals);
}

void measureRectified(const std::vector<const FittedView*>& used, const Board& board,
                      CalibrationResult& result)
{
    std::vector<double> errors;
    std::vector<double> ratios;
    for (const FittedView* view : used) {
        const RectifiedView rectified = rectify(view->view, result.records);
        const auto rows = findRowErrors(rectified);
        errors.insert(errors.end(), rows.begin(), rows.end());
        addSpacings(*view, triangulate(rectified, result.records), board, ratios);
    }
    result.rowError = rms(errors);
    result.worstRowError = *std::max_element(errors.begin(), errors.end());
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(ratios, mean, deviation);
    result.squareMean = mean[0];
    result.squareDeviation = deviation[0];
}

} // namespace vision::toolkit
