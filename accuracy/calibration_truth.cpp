// SPDX-License-Identifier: Apache-2.0
/// Compares what calibrations state of themselves with the truth, on rigs and boards that are computed, and
/// prints tables in Markdown.
///
/// Usage: calibration_truth SESSIONS. Each rig is calibrated so many times, with the same views and other
/// noise: what is stated is about these views, and others determine other things well.
#include "base/statistics.h"

#include <vision/toolkit/calibration/calibration_report.h>

#include <fmt/format.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace vision::toolkit;

const cv::Size imageSize(640, 480);
constexpr double depth = 1;        // m, where errors are compared
constexpr std::size_t atDepth = 1; // its place among those that are stated
constexpr int steps = 12;          // of the grid of pixels, in each direction

/// What a session is taken with.
struct Rig
{
    const char* lens;
    double angle; ///< degrees across the image
    cv::Vec<double, 5> distortion;
    int views;
    double noise;   ///< px, of corners in x and in y
    double bow = 0; ///< m, of the board along its rows
};

struct Truth
{
    CameraFit left;
    CameraFit right;
    cv::Mat axis = (cv::Mat_<double>(3, 1) << 0.01, -0.02, 0.005);
    cv::Mat translation = (cv::Mat_<double>(3, 1) << -0.1, 0.001, 0.002);
};

CameraFit makeCamera(const Rig& rig, double scale, const cv::Point2d& shift)
{
    const double focalLength = scale * imageSize.width / 2 / std::tan(rig.angle / 2 * CV_PI / 180);
    CameraFit camera;
    camera.matrix = (cv::Mat_<double>(3, 3) << focalLength,
                     0,
                     imageSize.width / 2.0 + shift.x,
                     0,
                     focalLength,
                     imageSize.height / 2.0 + shift.y,
                     0,
                     0,
                     1);
    camera.distortion = cv::Mat(rig.distortion).reshape(1, 1).clone();
    return camera;
}

Truth makeTruth(const Rig& rig)
{
    Truth truth;
    truth.left = makeCamera(rig, 1, {8, -5});
    truth.right = makeCamera(rig, 1.005, {-6, 4});
    return truth;
}

Board makeBoard()
{
    Board board;
    board.size = {9, 6};
    board.spacing = 0.025;
    return board;
}

/// The points of a board that lies on a cylinder, as a bowed sheet does.
std::vector<cv::Point3d> makePoints(double bow)
{
    std::vector<cv::Point3d> points;
    const auto flat = makeBoardPoints(makeBoard());
    const double half = flat.back().x / 2;
    const double radius = bow == 0 ? 0 : (half * half + bow * bow) / (2 * bow);
    for (const cv::Point3f& point : flat) {
        const double way = point.x - half;
        points.emplace_back(bow == 0 ? way : radius * std::sin(way / radius),
                            point.y - flat.back().y / 2,
                            bow == 0 ? 0 : radius * (std::cos(way / radius) - 1));
    }
    return points;
}

Corners see(const CameraFit& camera, const std::vector<cv::Point3d>& places, const cv::Mat& axis,
            const cv::Mat& translation)
{
    std::vector<cv::Point2d> seen;
    cv::projectPoints(places, axis, translation, camera.matrix, camera.distortion, seen);
    Corners corners;
    for (const cv::Point2d& point : seen) {
        corners.emplace_back(point);
    }
    return corners;
}

bool isInside(const Corners& corners)
{
    constexpr int border = 3; // px, more than noise
    const cv::Rect2f inside(
        cv::Rect(border, border, imageSize.width - 2 * border, imageSize.height - 2 * border));
    return std::all_of(corners.begin(), corners.end(), [&inside](const cv::Point2f& corner) {
        return inside.contains(corner);
    });
}

/// A view with the board anywhere in both images, a quarter to a half of them wide, tilted by up to 40
/// degrees.
BoardView takeView(const Rig& rig, const Truth& truth, cv::RNG& random)
{
    const auto points = makePoints(rig.bow);
    const double width = points.back().x - points.front().x;
    const double across = 2 * std::tan(rig.angle / 2 * CV_PI / 180);
    for (;;) {
        const double distance = width / across / random.uniform(0.25, 0.5);
        const double side = random.uniform(0.0, 2 * CV_PI);
        const double tilt = random.uniform(0.1, 0.7);
        cv::Matx33d rotation;
        cv::Matx33d roll;
        cv::Rodrigues(cv::Vec3d(tilt * std::cos(side), tilt * std::sin(side), 0), rotation);
        cv::Rodrigues(cv::Vec3d(0, 0, random.uniform(-0.2, 0.2)), roll);
        const cv::Vec3d centre(distance * across * random.uniform(-0.5, 0.5),
                               distance * across * random.uniform(-0.4, 0.4),
                               distance);
        std::vector<cv::Point3d> places;
        places.reserve(points.size());
        for (const cv::Point3d& point : points) {
            places.emplace_back(rotation * roll * cv::Vec3d(point.x, point.y, point.z) + centre);
        }
        BoardView view;
        view.left = see(truth.left, places, cv::Mat::zeros(3, 1, CV_64F), cv::Mat::zeros(3, 1, CV_64F));
        view.right = see(truth.right, places, truth.axis, truth.translation);
        if (isInside(view.left) && isInside(view.right)) {
            for (std::size_t i = 0; i < points.size(); ++i) {
                view.ids.push_back(static_cast<int>(i));
            }
            return view;
        }
    }
}

std::vector<BoardView> takeViews(const Rig& rig, const Truth& truth, unsigned seed)
{
    cv::RNG random(seed);
    std::vector<BoardView> views;
    views.reserve(static_cast<std::size_t>(rig.views));
    for (int i = 0; i < rig.views; ++i) {
        views.push_back(takeView(rig, truth, random));
    }
    return views;
}

BoardSearch addNoise(const std::vector<BoardView>& views, double noise, cv::RNG& random)
{
    BoardSearch search;
    search.board = makeBoard();
    search.imageSize = imageSize;
    for (const BoardView& view : views) {
        PairDetection pair;
        pair.size = imageSize;
        pair.view = view;
        for (Corners* corners : {&pair.view.left, &pair.view.right}) {
            for (cv::Point2f& corner : *corners) {
                corner += cv::Point2f(cv::Point2d(random.gaussian(noise), random.gaussian(noise)));
            }
        }
        search.pairs.push_back(pair);
    }
    return search;
}

std::vector<cv::Point2d> toRays(const std::vector<cv::Point2d>& pixels, const CameraFit& camera)
{
    std::vector<cv::Point2d> rays;
    cv::undistortPoints(pixels,
                        rays,
                        camera.matrix,
                        camera.distortion,
                        cv::noArray(),
                        cv::noArray(),
                        cv::TermCriteria(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 100, 1e-9));
    return rays;
}

/// A pixel of the left image and where the right camera sees what is there at that depth.
struct Grid
{
    std::vector<cv::Point2d> left;
    std::vector<cv::Point2d> right;
    std::vector<double> distances; ///< m, true ones
};

Grid makeGrid(const Truth& truth)
{
    Grid grid;
    for (int i = 0; i < steps * steps; ++i) {
        const int row = i / steps;
        grid.left.emplace_back((i % steps + 0.5) * imageSize.width / steps,
                               (row + 0.5) * imageSize.height / steps);
    }
    std::vector<cv::Point3d> places;
    for (const cv::Point2d& ray : toRays(grid.left, truth.left)) {
        places.emplace_back(depth * ray.x, depth * ray.y, depth);
        grid.distances.push_back(cv::norm(places.back()));
    }
    cv::projectPoints(
        places, truth.axis, truth.translation, truth.right.matrix, truth.right.distortion, grid.right);
    return grid;
}

/// Errors of the distances, over the distance; NaN where the board was not seen or the right camera sees
/// nothing.
std::vector<double> measureErrors(const Grid& grid, const PairFit& fit, const BoardSearch& search)
{
    cv::Mat covered = cv::Mat::zeros(imageSize, CV_8U);
    for (const PairDetection& pair : search.pairs) {
        Corners hull;
        cv::convexHull(pair.view.left, hull);
        cv::fillConvexPoly(covered, std::vector<cv::Point>(hull.begin(), hull.end()), 255);
    }
    cv::Mat right;
    cv::hconcat(fit.rotation, fit.translation, right);
    cv::Mat places;
    cv::triangulatePoints(cv::Mat::eye(3, 4, CV_64F),
                          right,
                          toRays(grid.left, fit.left),
                          toRays(grid.right, fit.right),
                          places);
    std::vector<double> errors;
    for (int i = 0; i < places.cols; ++i) {
        const cv::Vec4d place = places.col(i);
        const auto at = static_cast<std::size_t>(i);
        const double distance = cv::norm(cv::Vec3d(place[0], place[1], place[2])) / std::abs(place[3]);
        const bool isSeen = covered.at<unsigned char>(cv::Point(grid.left[at])) != 0 &&
                            cv::Rect2d({0, 0}, cv::Size2d(imageSize)).contains(grid.right[at]);
        errors.push_back(isSeen ? distance / grid.distances[at] - 1 : NAN);
    }
    return errors;
}

/// The true errors, rms over the sessions at each pixel that was covered in half of them.
std::vector<double> findTrueErrors(const std::vector<std::vector<double>>& sessions)
{
    std::vector<double> errors;
    for (std::size_t pixel = 0; pixel < sessions.front().size(); ++pixel) {
        std::vector<double> seen;
        for (const auto& session : sessions) {
            if (!std::isnan(session[pixel])) {
                seen.push_back(session[pixel]);
            }
        }
        if (2 * seen.size() >= sessions.size()) {
            errors.push_back(rms(seen));
        }
    }
    return errors;
}

struct Tally
{
    int within = 0;
    int all = 0;

    void add(double stated, double truth)
    {
        constexpr double factor = 2;
        ++all;
        within += stated > truth / factor && stated < truth * factor ? 1 : 0;
    }
};

void compareRig(const Rig& rig, unsigned seed, int count, Tally& medians, Tally& worst)
{
    cv::RNG random(7);
    const Truth truth = makeTruth(rig);
    const auto views = takeViews(rig, truth, seed);
    const Grid grid = makeGrid(truth);
    std::vector<std::vector<double>> errors;
    std::vector<DepthError> stated;
    std::array<int, 4> verdicts{};
    for (int i = 0; i < count; ++i) {
        const BoardSearch search = addNoise(views, rig.noise, random);
        const CalibrationReport report = calibrate(search);
        ++verdicts[static_cast<std::size_t>(report.verdict)];
        if (report.result) {
            errors.push_back(measureErrors(grid, report.result->fit, search));
            stated.push_back(report.result->uncertainty.depths[atDepth]);
        }
    }
    const auto truths = findTrueErrors(errors);
    const double trueMedian = depth * median(truths);
    const double trueWorst = depth * quantile(truths, 0.95);
    Tally rigMedians;
    Tally rigWorst;
    std::vector<double> statedMedians;
    std::vector<double> statedWorst;
    for (const DepthError& error : stated) {
        rigMedians.add(error.fromCalibration, trueMedian);
        rigWorst.add(error.worstFromCalibration, trueWorst);
        statedMedians.push_back(error.fromCalibration);
        statedWorst.push_back(error.worstFromCalibration);
    }
    medians.within += rigMedians.within;
    medians.all += count;
    worst.within += rigWorst.within;
    worst.all += count;
    std::cout << fmt::format(
                     "| {} | {} | {:.2f} | {:.1f} | {:.1f} | {:.2f} | {:.1f} | {:.1f} | {:.2f} | {} | {} |\n",
                     rig.lens,
                     rig.views,
                     rig.noise,
                     1000 * trueMedian,
                     1000 * median(statedMedians),
                     median(statedMedians) / trueMedian,
                     1000 * trueWorst,
                     1000 * median(statedWorst),
                     median(statedWorst) / trueWorst,
                     rigMedians.within,
                     fmt::format("{}/{}/{}/{}", verdicts[0], verdicts[1], verdicts[2], verdicts[3]))
              << std::flush;
}

void compareDepths(int count)
{
    std::cout << fmt::format(
        "| lens | views | noise px | true median mm | stated | ratio | true 95 % mm | stated | ratio | of {} "
        "within "
        "0.5 and 2 | good/usable/poor/refused |\n|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---|\n",
        count);
    Tally medians;
    Tally worst;
    const std::array<std::tuple<const char*, double, cv::Vec<double, 5>>, 3> lenses{
        {{"30 degrees", 30, {-0.1, 0.2, 0.0005, -0.0005, 0}},
         {"60 degrees", 60, {-0.25, 0.1, 0.001, -0.0005, 0}},
         {"90 degrees", 90, {-0.28, 0.09, 0.001, -0.0005, -0.012}}}};
    unsigned seed = 0;
    for (const auto& [lens, angle, distortion] : lenses) {
        for (const int views : {4, 8, 15, 30}) {
            for (const double noise : {0.05, 0.15, 0.5}) {
                compareRig({lens, angle, distortion, views, noise}, ++seed, count, medians, worst);
            }
        }
    }
    std::cout << fmt::format(
        "\nStated over true between 0.5 and 2: {:.0f} % of {} medians, {:.0f} % of the 95th percentiles.\n",
        100.0 * medians.within / medians.all,
        medians.all,
        100.0 * worst.within / worst.all);
}

void compareBows(int count)
{
    std::cout
        << "\n| board | found mm | stated +- mm | error of the focal length px, rms | stated +- px | of "
        << count << " within 2 +- | bend taken into account |\n|---|---:|---:|---:|---:|---:|---:|\n";
    for (const double bow : {0.0, 0.0002, 0.0005, 0.001, 0.002, 0.005, -0.005}) {
        const Rig rig{"60 degrees", 60, {-0.25, 0.1, 0.001, -0.0005, 0}, 13, 0.1, bow};
        const Truth truth = makeTruth(rig);
        cv::RNG random(11);
        std::vector<double> found, deviations, errors, stated;
        int within = 0;
        int bent = 0;
        for (int i = 0; i < count; ++i) {
            const CalibrationReport report = calibrate(
                addNoise(takeViews(rig, truth, 100U + static_cast<unsigned>(i)), rig.noise, random));
            const CalibrationResult& result = *report.result;
            const double error = result.fit.left.matrix.at<double>(0, 0) - truth.left.matrix.at<double>(0, 0);
            errors.push_back(error);
            stated.push_back(result.uncertainty.cameras.left.focalLengthX);
            found.push_back(1000 * report.board.bend[0]);
            deviations.push_back(1000 * result.bendDeviation[0]);
            within += std::abs(error) < 2 * stated.back() ? 1 : 0;
            bent += report.board.bend == cv::Vec3d() ? 0 : 1;
        }
        std::cout << fmt::format("| bowed by {:.1f} mm | {:.2f} | {:.2f} | {:.2f} | {:.2f} | {} | {} |\n",
                                 1000 * bow,
                                 median(found),
                                 median(deviations),
                                 rms(errors),
                                 median(stated),
                                 within,
                                 bent)
                  << std::flush;
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: calibration_truth SESSIONS\n";
        return 2;
    }
    const int count = std::stoi(argv[1]);
    compareDepths(count);
    compareBows(count);
    return 0;
}
