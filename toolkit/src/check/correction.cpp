// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/check/correction.h>

#include "base/statistics.h"
#include "check/distances.h"
#include "check/drift_fit.h"
#include "features/point_match.h"

#include <vision/toolkit/depth/depth_pipeline.h>
#include <vision/toolkit/failure.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp> // OpenCV 3 declares undistortPoints here

#include <algorithm>
#include <cmath>

namespace vision::toolkit {

namespace {

using Matches = std::vector<FeatureMatch>;

/// The absolute row offsets of matches after the right camera was turned back.
MedianAndSpread findOffsets(const Matches& matches, const cv::Vec3d& angles, const cv::Matx34f& projection)
{
    std::vector<double> offsets;
    for (const FeatureMatch& match : matches) {
        const FeatureMatch corrected = correctRotation(match, angles, projection);
        offsets.push_back(std::abs(corrected.right.y - corrected.left.y));
    }
    return medianAndSpread(std::move(offsets));
}

cv::Vec3d anglesOf(const CameraDrift& drift)
{
    return {drift.pitch.value, 0, drift.roll.value}; // 0 where they are not significant
}

/// Tries on the pairs between what every other pair says.
void holdBack(const std::vector<PairCheck>& pairs, const CalibrationPair& calibrations,
              Correction& correction)
{
    MatchesOfPairs fitted;
    Matches heldBack;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        if (i % 2 == 0) {
            fitted.push_back(pairs[i].matches);
        } else {
            heldBack.insert(heldBack.end(), pairs[i].matches.begin(), pairs[i].matches.end());
        }
    }
    const auto fit = fitDrift(fitted, calibrations.right);
    const cv::Vec3d angles = fit ? anglesOf(fit->significant) : cv::Vec3d();
    const cv::Matx34f projection = calibrations.right.projectionMatrix;
    const MedianAndSpread before = findOffsets(heldBack, {0, 0, 0}, projection);
    const MedianAndSpread after = findOffsets(heldBack, angles, projection);
    correction.before = before.median;
    correction.after = after.median;
    const double noise = 3 * before.spread / std::sqrt(static_cast<double>(heldBack.size()));
    if (!(correction.after + noise < correction.before)) {
        throw Failure(
            "correction-does-not-help",
            {},
            "the pairs that were held back do not get clearly better, so nothing is corrected; make a new "
            "calibration");
    }
}

/// Lengths that were measured at about the same disparity, against known ones.
struct Evidence
{
    double ratio; ///< measured over known
    double slope; ///< its change per degree of yaw that is taken back
};

double measure(const KnownDistance& known, const Triangulation& triangulate)
{
    return cv::norm(triangulate(known.match)) / known.distance;
}

BoardEdge turnBack(const BoardEdge& edge, const cv::Vec3d& angles, const cv::Matx34f& projection)
{
    return {correctRotation(edge.first, angles, projection),
            correctRotation(edge.second, angles, projection),
            edge.length};
}

double measure(const BoardCheck& board, const cv::Vec3d& angles, const Triangulation& triangulate)
{
    std::vector<BoardEdge> edges;
    for (const BoardEdge& edge : board.edges) {
        edges.push_back(turnBack(edge, angles, triangulate.right()));
    }
    return cv::mean(measureEdges(edges, triangulate))[0];
}

std::vector<Evidence> listEvidence(const std::vector<PairCheck>& pairs,
                                   const std::optional<KnownDistance>& known,
                                   const CalibrationPair& calibrations, const cv::Vec3d& angles)
{
    constexpr double small = 0.01; // degrees
    const cv::Vec3d turned = angles + cv::Vec3d(0, small, 0);
    const Triangulation triangulate(calibrations);
    std::vector<Evidence> evidence;
    for (const PairCheck& pair : pairs) {
        if (pair.board) {
            const double ratio = measure(*pair.board, angles, triangulate);
            evidence.push_back({ratio, (measure(*pair.board, turned, triangulate) - ratio) / small});
        }
    }
    if (known) {
        const auto measureTurned = [&](const cv::Vec3d& by) {
            const FeatureMatch match = correctRotation(known->match, by, triangulate.right());
            return measure({match, known->distance}, triangulate);
        };
        const double ratio = measureTurned(angles);
        evidence.push_back({ratio, (measureTurned(turned) - ratio) / small});
    }
    return evidence;
}

/// The yaw that makes measured lengths the known ones.
/// @throws Failure when another scale of all distances explains them better
Estimate fitYaw(const std::vector<Evidence>& evidence)
{
    constexpr double accuracy =
        0.002;                    // of a ratio: the spread between boards at 0.4 m, and of a tape measure
    constexpr double clearly = 9; // chi square: three standard deviations
    double slopes = 0, products = 0, sum = 0;
    for (const auto& [ratio, slope] : evidence) {
        slopes += slope * slope;
        products += slope * (1 - ratio);
        sum += 1 - ratio;
    }
    const auto count = static_cast<double>(evidence.size());
    const double yaw = products / slopes;
    double ofYaw = 0, ofScale = 0;
    for (const auto& [ratio, slope] : evidence) {
        ofYaw += std::pow((ratio + slope * yaw - 1) / accuracy, 2);
        ofScale += std::pow((1 - ratio - sum / count) / accuracy, 2);
    }
    if (ofYaw > ofScale + clearly) {
        throw Failure(
            "scale-changed",
            {},
            "distances are wrong by the same share near and far, as when the cameras' distance or a lens has "
            "changed, or the given size is wrong; check that size, or make a new calibration");
    }
    const double spread = accuracy * std::sqrt(std::max(1.0, ofYaw / std::max(count - 1, 1.0)));
    return {yaw, spread / std::sqrt(slopes)};
}

void requireOneDrift(const std::vector<PairCheck>& pairs, const CalibrationCheck& check)
{
    constexpr std::size_t fewest = 2;
    if (pairs.size() < fewest) {
        throw Failure(
            "too-few-pairs",
            {},
            "a correction needs two pairs and more, as it is tried on pairs that it was not found in");
    }
    for (const Note& reason : check.reasons) {
        if (reason.code == "scale-changed") {
            throw Failure(
                "scale-changed",
                {},
                "a change of scale cannot be corrected, as rows do not tell which camera it is and what else "
                "has changed; make a new calibration");
        }
        if (reason.code == "rows-change") {
            throw Failure(
                "not-one-drift", {}, "rows change within the sequence, so no one correction fits all of it");
        }
    }
    if (check.verdict != CheckVerdict::Holds && check.verdict != CheckVerdict::Drifted) {
        throw Failure(
            "not-one-drift",
            {},
            "only a calibration that has drifted can be corrected, and these pairs do not show that");
    }
}

} // namespace

KnownDistance findKnownDistance(const ImagePair& pair, const CalibrationPair& calibrations,
                                const cv::Point2d& point, double distance)
{
    const RawPair rectified =
        DepthPipeline(makeRig(calibrations), DepthSettings{}).rectify({pair.left.grey, pair.right.grey});
    const cv::Size size = rectified.left.size();
    const Calibration left = calibrations.left.scaleTo(size.width, size.height);
    std::vector<cv::Point2d> points{point};
    cv::undistortPoints(
        points, points, left.cameraMatrix, left.distortion, left.rectificationMatrix, left.projectionMatrix);
    const auto match = matchPoint(rectified.left, rectified.right, points.front());
    if (!match) {
        throw Failure(
            "point-not-found",
            {},
            "the point is not found in the right image; take one with structure around it that both see");
    }
    const double scale = static_cast<double>(calibrations.left.width) / size.width;
    return {{match->left * scale, match->right * scale}, distance};
}

std::optional<Correction> makeCorrection(const std::vector<PairCheck>& pairs, const CalibrationCheck& check,
                                         const CalibrationPair& calibrations,
                                         const std::optional<KnownDistance>& known)
{
    requireOneDrift(pairs, check);
    MatchesOfPairs all;
    for (const PairCheck& pair : pairs) {
        all.push_back(pair.matches);
    }
    const auto fit = fitDrift(all, calibrations.right);
    cv::Vec3d angles;
    Correction correction;
    if (fit && fit->matters()) {
        angles = anglesOf(fit->significant);
    }
    if (cv::norm(angles) > 0) {
        holdBack(pairs, calibrations, correction);
    }
    const std::vector<Evidence> evidence = listEvidence(pairs, known, calibrations, angles);
    if (!evidence.empty()) {
        const Estimate yaw = fitYaw(evidence);
        angles[1] = yaw.isSignificant() ? yaw.value : 0;
    }
    if (cv::norm(angles) == 0) {
        return std::nullopt;
    }
    correction.right = correctRotation(calibrations.right, angles);
    correction.pitch = angles[0];
    correction.yaw = angles[1];
    correction.roll = angles[2];
    return correction;
}

} // namespace vision::toolkit
