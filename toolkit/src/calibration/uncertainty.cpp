// SPDX-License-Identifier: Apache-2.0
#include "calibration/uncertainty.h"

#include "calibration/poses.h"
#include "calibration/rectification.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp> // OpenCV 3 declares undistortPoints here

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>

namespace vision::toolkit {

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
constexpr std::array depths{0.5, 1.0, 2.0, 5.0}; // m
constexpr double quarterPixel = 0.25;

/// Points in both images that one place in the world gives.
struct Probes
{
    double depth;
    std::vector<cv::Point2d> left; ///< px
    std::vector<cv::Point2d> right;
};

/// Places at a depth all over the left image, as far as the right camera sees them, too.
Probes makeProbes(const PairFit& fit, const cv::Size& imageSize, double depth)
{
    constexpr int steps = 5; // in each direction
    std::vector<cv::Point2d> pixels;
    for (int row = 0; row < steps; ++row) {
        for (int column = 0; column < steps; ++column) {
            pixels.emplace_back((column + 0.5) * imageSize.width / steps,
                                (row + 0.5) * imageSize.height / steps);
        }
    }
    std::vector<cv::Point2d> rays;
    cv::undistortPoints(pixels, rays, fit.left.matrix, fit.left.distortion);
    std::vector<cv::Point3d> places;
    places.reserve(rays.size());
    for (const cv::Point2d& ray : rays) {
        places.emplace_back(depth * ray.x, depth * ray.y, depth);
    }
    cv::Mat rotation;
    cv::Rodrigues(fit.rotation, rotation);
    std::vector<cv::Point2d> seen;
    cv::projectPoints(places, rotation, fit.translation, fit.right.matrix, fit.right.distortion, seen);
    Probes probes{depth, {}, {}};
    const cv::Rect2d image(0, 0, imageSize.width, imageSize.height);
    for (std::size_t i = 0; i < seen.size(); ++i) {
        if (image.contains(seen[i])) {
            probes.left.push_back(pixels[i]);
            probes.right.push_back(seen[i]);
        }
    }
    return probes;
}

/// The distances from the left camera at which a fit sees the probes. Distances rather than depths: the frame
/// of the camera is turned a little by each fit.
std::vector<double> measureDistances(const PairFit& fit, const Probes& probes)
{
    std::vector<double> distances;
    if (probes.left.empty()) {
        return distances;
    }
    std::vector<cv::Point2d> left;
    std::vector<cv::Point2d> right;
    cv::undistortPoints(probes.left, left, fit.left.matrix, fit.left.distortion);
    cv::undistortPoints(probes.right, right, fit.right.matrix, fit.right.distortion);
    cv::Mat leftProjection = cv::Mat::eye(3, 4, CV_64F);
    cv::Mat rightProjection;
    cv::hconcat(fit.rotation, fit.translation, rightProjection);
    cv::Mat places;
    cv::triangulatePoints(leftProjection, rightProjection, left, right, places);
    for (int i = 0; i < places.cols; ++i) {
        const cv::Vec4d place = places.col(i);
        distances.push_back(cv::norm(cv::Vec3d(place[0], place[1], place[2])) / std::abs(place[3]));
    }
    return distances;
}

/// What a fit without one of the poses gives.
struct Replicate
{
    cv::Vec4d rotationAndBaseline;              ///< degrees and m
    std::vector<std::vector<double>> distances; ///< by depth, then by probe
    double squaredRowErrors = 0;                ///< of the pose that was left out
    std::size_t points = 0;
};

Replicate describe(const PairFit& fit, const BoardView& leftOut, const cv::Size& imageSize,
                   const std::vector<Probes>& probes)
{
    Replicate replicate;
    cv::Vec3d rotation;
    cv::Rodrigues(fit.rotation, rotation);
    rotation *= 180 / CV_PI;
    replicate.rotationAndBaseline = {rotation[0], rotation[1], rotation[2], cv::norm(fit.translation)};
    for (const Probes& atDepth : probes) {
        replicate.distances.push_back(measureDistances(fit, atDepth));
    }
    for (const double error : findRowErrors(rectify(leftOut, makeRecords(fit, imageSize, 0)))) {
        replicate.squaredRowErrors += error * error;
        ++replicate.points;
    }
    return replicate;
}

/// The standard deviation of an estimate from its values without each of the poses.
double jackknife(const std::vector<Replicate>& replicates,
                 const std::function<double(const Replicate&)>& value)
{
    const auto count = static_cast<double>(replicates.size());
    double mean = 0;
    for (const Replicate& replicate : replicates) {
        mean += value(replicate) / count;
    }
    double squares = 0;
    for (const Replicate& replicate : replicates) {
        squares += (value(replicate) - mean) * (value(replicate) - mean);
    }
    return std::sqrt((count - 1) / count * squares);
}

/// The error of a depth, with that of a distance taken in proportion.
double jackknifeDepth(const std::vector<Replicate>& replicates, std::size_t depth)
{
    const std::size_t probes = replicates.front().distances[depth].size();
    double squares = 0;
    for (std::size_t probe = 0; probe < probes; ++probe) {
        const auto value = [&](const Replicate& replicate) { return replicate.distances[depth][probe]; };
        const double relative = jackknife(replicates, value) / value(replicates.front());
        squares += relative * relative;
    }
    return depths[depth] * std::sqrt(squares / static_cast<double>(probes));
}

std::vector<Replicate> replicate(const std::vector<const BoardView*>& poses, const cv::Size& imageSize,
                                 const Board& board, const LensModel& lens, const PairFit& fit,
                                 const std::vector<Probes>& probes)
{
    std::vector<Replicate> replicates(poses.size());
    cv::parallel_for_({0, static_cast<int>(poses.size())}, [&](const cv::Range& range) {
        for (int i = range.start; i < range.end; ++i) {
            std::vector<const BoardView*> others = poses;
            others.erase(others.begin() + i);
            const PairFit without = fitPair(others, imageSize, board, lens, &fit);
            const auto place = static_cast<std::size_t>(i);
            replicates[place] = describe(without, *poses[place], imageSize, probes);
        }
    });
    return replicates;
}

void addJackknife(const std::vector<Replicate>& replicates, double shrinking, PairUncertainty& uncertainty)
{
    for (int i = 0; i < 3; ++i) {
        uncertainty.rotation[i] = shrinking * jackknife(replicates, [i](const Replicate& one) {
                                      return one.rotationAndBaseline[i];
                                  });
    }
    uncertainty.baseline =
        shrinking * jackknife(replicates, [](const Replicate& one) { return one.rotationAndBaseline[3]; });
    double squares = 0;
    std::size_t points = 0;
    for (const Replicate& one : replicates) {
        squares += one.squaredRowErrors;
        points += one.points;
    }
    uncertainty.unseenRowError = std::sqrt(squares / static_cast<double>(points));
    for (std::size_t depth = 0; depth < depths.size(); ++depth) {
        if (!replicates.front().distances[depth].empty()) {
            uncertainty.depths[depth].fromCalibration = shrinking * jackknifeDepth(replicates, depth);
        }
    }
}

CameraDeviation shrink(const CameraDeviation& deviation, double factor)
{
    return {factor * deviation.focalLengthX,
            factor * deviation.focalLengthY,
            factor * deviation.principalPointX,
            factor * deviation.principalPointY};
}

} // namespace

PairUncertainty findUncertainty(const std::vector<const BoardView*>& views, const cv::Size& imageSize,
                                const Board& board, const LensModel& lens, const PairFit& fit)
{
    constexpr std::size_t enough = 24;
    constexpr std::size_t fewest = 3; // one less leaves two, by which a camera is just determined
    const auto all = selectPoses(views, imageSize);
    const auto poses = spread(all, enough);
    const double shrinking = std::sqrt(static_cast<double>(poses.size()) / static_cast<double>(all.size()));

    const PairDeviation cameras = findDeviations(poses, imageSize, board, lens, fit);
    PairUncertainty uncertainty{{shrink(cameras.left, shrinking), shrink(cameras.right, shrinking)},
                                unknown,
                                {unknown, unknown, unknown},
                                unknown,
                                {}};
    const double baseline = cv::norm(fit.translation);
    const double focalLength = fit.left.matrix.at<double>(0, 0);
    std::vector<Probes> probes;
    for (const double depth : depths) {
        probes.push_back(makeProbes(fit, imageSize, depth));
        uncertainty.depths.push_back(
            {depth, unknown, depth * depth / (focalLength * baseline) * quarterPixel});
    }
    if (poses.size() >= fewest) {
        addJackknife(replicate(poses, imageSize, board, lens, fit, probes), shrinking, uncertainty);
    }
    return uncertainty;
}

} // namespace vision::toolkit
