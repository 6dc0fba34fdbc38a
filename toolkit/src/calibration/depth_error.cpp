// SPDX-License-Identifier: Apache-2.0
#include "calibration/depth_error.h"

#include "calibration/rectification.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>

namespace vision::toolkit {

namespace {

using Pixels = std::vector<cv::Point2d>;

/// Points in both images that one place in the world gives.
struct Probes
{
    Pixels left; ///< px
    Pixels right;
};

Pixels listCovered(const cv::Mat& covered)
{
    constexpr int steps = 12; // in each direction
    Pixels pixels;
    for (int row = 0; row < steps; ++row) {
        for (int column = 0; column < steps; ++column) {
            const cv::Point pixel((2 * column + 1) * covered.cols / (2 * steps),
                                  (2 * row + 1) * covered.rows / (2 * steps));
            if (covered.at<unsigned char>(pixel) != 0) {
                pixels.emplace_back(pixel);
            }
        }
    }
    return pixels;
}

Probes makeProbes(const PairFit& fit, const cv::Mat& covered, double depth)
{
    Probes probes;
    const Pixels pixels = listCovered(covered);
    if (pixels.empty()) {
        return probes;
    }
    std::vector<cv::Point3d> places;
    for (const cv::Point2d& ray : toRays(pixels, fit.left)) {
        places.emplace_back(depth * ray.x, depth * ray.y, depth);
    }
    cv::Mat rotation;
    cv::Rodrigues(fit.rotation, rotation);
    Pixels seen;
    cv::projectPoints(places, rotation, fit.translation, fit.right.matrix, fit.right.distortion, seen);
    const cv::Rect2d image({0, 0}, cv::Size2d(covered.size()));
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
cv::Mat measureDistances(const PairFit& fit, const Probes& probes)
{
    const cv::Mat left = cv::Mat::eye(3, 4, CV_64F);
    cv::Mat right;
    cv::hconcat(fit.rotation, fit.translation, right);
    cv::Mat places;
    cv::triangulatePoints(
        left, right, toRays(probes.left, fit.left), toRays(probes.right, fit.right), places);
    cv::Mat distances(places.cols, 1, CV_64F);
    for (int i = 0; i < places.cols; ++i) {
        const cv::Vec4d place = places.col(i);
        distances.at<double>(i) = cv::norm(cv::Vec3d(place[0], place[1], place[2])) / std::abs(place[3]);
    }
    return distances;
}

} // namespace

std::vector<double> findDepthErrors(const Adjustment& adjustment, const cv::Mat& covariance,
                                    const cv::Mat& covered, double depth)
{
    const PairFit fit = adjustment.moved(cv::Mat::zeros(adjustment.size(), 1, CV_64F));
    const Probes probes = makeProbes(fit, covered, depth);
    if (probes.left.empty()) {
        return {};
    }
    // Along the axes of the covariance, whose numbers go together, rather than along each number alone.
    cv::Mat variances;
    cv::Mat axes; // in rows
    cv::eigen(covariance, variances, axes);
    constexpr double part = 0.1; // of a deviation: nearly linear
    const cv::Mat distances = measureDistances(fit, probes);
    cv::Mat squares = cv::Mat::zeros(distances.size(), CV_64F);
    for (int axis = 0; axis < axes.rows; ++axis) {
        const double deviation = std::sqrt(std::max(variances.at<double>(axis), 0.0));
        const cv::Mat change = part * deviation * axes.row(axis).t();
        const cv::Mat moved = (measureDistances(adjustment.moved(change), probes) -
                               measureDistances(adjustment.moved(-change), probes)) /
                              (2 * part);
        squares += moved.mul(moved);
    }
    cv::Mat errors;
    cv::sqrt(squares, errors);
    errors /= distances;
    return {errors.begin<double>(), errors.end<double>()};
}

} // namespace vision::toolkit
