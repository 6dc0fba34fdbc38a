// SPDX-License-Identifier: Apache-2.0
#include "calibration/uncertainty.h"

#include "base/statistics.h"
#include "calibration/poses.h"
#include "calibration/rectification.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace vision::toolkit {

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
constexpr double quarterPixel = 0.25;
constexpr double usual = 0.95; // the share of the image for which errors are promised

double deviationOf(const cv::Mat& covariance, int place)
{
    return std::sqrt(covariance.at<double>(place, place));
}

/// What is as uncertain as it is large is not known at all.
double orUnknown(double deviation, double value)
{
    return deviation < value ? deviation : unknown;
}

CameraDeviation findCamera(const cv::Mat& covariance, int first, const CameraFit& camera)
{
    const cv::Mat_<double> matrix = camera.matrix;
    return {orUnknown(deviationOf(covariance, first), matrix(0, 0)),
            orUnknown(deviationOf(covariance, first + 1), matrix(1, 1)),
            orUnknown(deviationOf(covariance, first + 2), matrix(0, 0)),
            orUnknown(deviationOf(covariance, first + 3), matrix(1, 1))};
}

void addRig(const cv::Mat& covariance, int first, const PairFit& fit, PairUncertainty& uncertainty)
{
    for (int axis = 0; axis < 3; ++axis) {
        uncertainty.rotation[axis] = orUnknown(deviationOf(covariance, first + axis) * 180 / CV_PI, 180);
    }
    const double baseline = cv::norm(fit.translation);
    const cv::Range translation(first + 3, first + 6);
    const cv::Mat direction = fit.translation / baseline;
    const cv::Mat variance = direction.t() * covariance(translation, translation) * direction;
    uncertainty.baseline = orUnknown(std::sqrt(variance.at<double>(0)), baseline);
}

void addDepths(const Adjustment& adjustment, const cv::Mat& covariance, const PairFit& fit,
               const SeenSpace& seen, PairUncertainty& uncertainty)
{
    const double scale = fit.left.matrix.at<double>(0, 0) * cv::norm(fit.translation);
    for (const double depth : {0.5, 1.0, 2.0, 5.0}) {
        const auto errors = findDepthErrors(adjustment, covariance, seen.covered, depth);
        uncertainty.depths.push_back({depth,
                                      depth * orUnknown(median(errors), 1),
                                      depth * orUnknown(quantile(errors, usual), 1),
                                      depth * depth / scale * quarterPixel,
                                      depth < seen.nearest || depth > seen.farthest});
    }
    double worst = 0;
    for (const double depth : {seen.nearest, (seen.nearest + seen.farthest) / 2, seen.farthest}) {
        const double error = quantile(findDepthErrors(adjustment, covariance, seen.covered, depth), usual);
        worst = error <= worst ? worst : error; // what is not known is worst
        if (std::isnan(worst)) {
            break;
        }
    }
    uncertainty.relativeDepthError = orUnknown(worst, 1);
}

/// The rows of each pose by a fit without it.
double measureUnseenRows(const std::vector<const BoardView*>& poses, const cv::Size& imageSize,
                         const Adjustment& adjustment)
{
    std::vector<double> errors;
    for (std::size_t i = 0; i < poses.size(); ++i) {
        const PairFit without = adjustment.moved(adjustment.stepWithout(i));
        for (const double error : findRowErrors(rectify(*poses[i], makeRecords(without, imageSize, 0)))) {
            errors.push_back(error);
        }
    }
    return rms(errors);
}

} // namespace

PairUncertainty findUncertainty(const std::vector<const BoardView*>& views, const cv::Size& imageSize,
                                const Board& board, const LensModel& lens, const PairFit& fit,
                                const SeenSpace& seen)
{
    constexpr std::size_t fewest = 3; // one less leaves two, by which a camera is just determined
    const auto poses = selectPoses(views, imageSize);
    const Adjustment adjustment(poses, board, lens, fit, board.bend != cv::Vec3d());
    const cv::Mat covariance = adjustment.covariance();
    PairUncertainty uncertainty;
    uncertainty.cameras = {findCamera(covariance, adjustment.firstOf(true), fit.left),
                           findCamera(covariance, adjustment.firstOf(false), fit.right)};
    uncertainty.nearest = seen.nearest;
    uncertainty.farthest = seen.farthest;
    addRig(covariance, adjustment.rig(), fit, uncertainty);
    addDepths(adjustment, covariance, fit, seen, uncertainty);
    uncertainty.unseenRowError =
        poses.size() < fewest ? unknown : measureUnseenRows(poses, imageSize, adjustment);
    return uncertainty;
}

} // namespace vision::toolkit
