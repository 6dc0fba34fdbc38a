// SPDX-License-Identifier: Apache-2.0
#include "calibration/bend.h"

#include "calibration/adjustment.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>

namespace vision::toolkit {

namespace {

/// How many standard deviations, of all numbers together, a bend is from none.
double findSignificance(const cv::Vec3d& bend, const cv::Matx33d& covariance)
{
    const cv::Vec3d weighted = covariance.inv(cv::DECOMP_SVD) * bend;
    return std::sqrt(std::max(bend.dot(weighted), 0.0));
}

} // namespace

std::optional<BentFit> fitBentBoard(const std::vector<const BoardView*>& views, const Board& board,
                                    const LensModel& lens, const PairFit& fit, double repeats)
{
    constexpr int mostSteps = 8;
    // Of fewer views, what they have in common by chance looks like a bend, and takes the focal length with
    // it.
    constexpr std::size_t fewest = 10;
    if (views.size() < fewest) {
        return std::nullopt;
    }
    // Of flat boards, what the residuals of real corners have in common looks like a bend of two or three
    // deviations; what is below five moves the focal length by less than its own deviation.
    constexpr double significant = 5;
    constexpr double still = 0.01; // deviations
    BentFit bent{fit, board, {}};
    for (int step = 0; step < mostSteps; ++step) {
        const Adjustment adjustment(views, bent.board, lens, bent.fit, true);
        const cv::Matx33d covariance = repeats * adjustment.bendCovarianceOf(adjustment.covariance());
        const cv::Mat change = adjustment.step();
        const cv::Vec3d bend = bent.board.bend + adjustment.bendOf(change);
        bent.fit = adjustment.moved(change);
        bent.board.bend = bend;
        bent.deviation = {
            std::sqrt(covariance(0, 0)), std::sqrt(covariance(1, 1)), std::sqrt(covariance(2, 2))};
        // The first step is judged by residuals that hold the bend, which makes it look less certain.
        if (!(findSignificance(bend, covariance) > (step == 0 ? significant / 2 : significant))) {
            return std::nullopt;
        }
        if (step > 0 && findSignificance(adjustment.bendOf(change), covariance) < still) {
            break;
        }
    }
    const Adjustment adjustment(views, bent.board, lens, bent.fit, true);
    bent.fit.left.rms = adjustment.rms(true);
    bent.fit.right.rms = adjustment.rms(false);
    bent.fit.rms = adjustment.commonRms();
    if (!(bent.fit.rms < fit.rms)) {
        return std::nullopt;
    }
    return bent;
}

} // namespace vision::toolkit
