// SPDX-License-Identifier: Apache-2.0
#include "calibration/judgement.h"

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <string>

namespace vision::toolkit {

namespace {

using Reasons = std::vector<Reason>;

std::string percent(double share)
{
    return fmt::format("{:.{}f}", 100 * share, std::abs(share) < 0.1 ? 1 : 0) + " %";
}

std::string degrees(double angle)
{
    return fmt::format("{:.0f}", angle) + " degrees";
}

void judgePoses(std::size_t poses, Reasons& reasons)
{
    constexpr std::size_t fewest = 3;  // two just determine the four numbers of a camera without its lens
    constexpr std::size_t checked = 4; // without one of them, the others still determine a camera
    constexpr std::size_t good = 10;   // the uncertainty itself is known to a quarter then
    if (poses < good) {
        const Verdict verdict = poses < fewest    ? Verdict::Refused
                                : poses < checked ? Verdict::Poor
                                                  : Verdict::Usable;
        reasons.push_back(
            {verdict,
             {"too-few-poses",
              "the board was seen in " + std::to_string(poses) +
                  (poses == 1 ? " position" : " different positions") +
                  " only, and images of the same position count once: move and tilt it between the "
                  "images, 10 positions or more are good"}});
    }
}

void judgeTilt(double range, Reasons& reasons)
{
    constexpr double refused = 10; // degrees; the focal length is then uncertain by 3 % from ten poses
    constexpr double good = 20;    // and by 1 %
    if (range < good) {
        reasons.push_back(
            {range < refused ? Verdict::Refused : Verdict::Usable,
             {"no-tilt",
              "the positions of the board differ by " + degrees(range) +
                  " of tilt at most, so that near and small cannot be told from far and large: tilt the "
                  "board by 20 to 40 degrees, each time to another side"}});
    }
}

void judgeCoverage(const CameraQuality& quality, const char* side, Reasons& reasons)
{
    constexpr double reached =
        1.0 / 3; // a lens bends by the third power: here by a 27th of what it does there
    constexpr std::array corners{"top left", "top right", "bottom left", "bottom right"};
    std::string missing;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        if (quality.reach[i] < reached) {
            missing += (missing.empty() ? "" : ", ") + std::string(corners[i]);
        }
    }
    if (!missing.empty()) {
        reasons.push_back(
            {Verdict::Usable,
             {"uncovered-corners",
              std::string("the board never came near these corners of the ") + side +
                  " image, where the lens bends most: " + missing + "; take images with the board there"}});
    }
}

void judgeFocalLength(double uncertainty, Reasons& reasons)
{
    constexpr double refused = 0.03;
    constexpr double usable = 0.01;
    if (!(uncertainty <= usable)) {
        reasons.push_back(
            {uncertainty <= refused ? Verdict::Poor : Verdict::Refused,
             {"uncertain-focal-length",
              (std::isnan(uncertainty) ? std::string("the focal length is not determined")
                                       : "the focal length is uncertain by " + percent(uncertainty)) +
                  ", and every distance with it: take more images, the board tilted more, large in the "
                  "image and in all parts of it"}});
    }
}

/// Limits of what distances may be uncertain by, the baseline and each depth alike.
Verdict judgeDistance(double relative)
{
    constexpr double good = 0.01;
    constexpr double usable = 0.03;
    constexpr double poor = 0.1;
    return relative <= good     ? Verdict::Good
           : relative <= usable ? Verdict::Usable
           : relative <= poor   ? Verdict::Poor
                                : Verdict::Refused;
}

void judgeDistances(const CalibrationResult& result, Reasons& reasons)
{
    constexpr std::size_t told = 3; // with fewer poses, their number is the reason
    const PairUncertainty& uncertainty = result.uncertainty;
    if (result.poses < told) {
        return;
    }
    const double baseline = uncertainty.baseline / cv::norm(result.fit.translation);
    if (judgeDistance(baseline) != Verdict::Good) {
        reasons.push_back(
            {judgeDistance(baseline),
             {"uncertain-baseline",
              (std::isnan(baseline) ? std::string("the baseline is not determined")
                                    : "the baseline is uncertain by " + percent(baseline)) +
                  ", and every distance with it: take more images, the board large in both of them"}});
    }
    const double depth = uncertainty.relativeDepthError;
    if (judgeDistance(depth) != Verdict::Good) {
        reasons.push_back(
            {judgeDistance(depth),
             {"uncertain-depth",
              fmt::format("where the board was seen, {:.2f} to {:.2f} m away, depths are {}: take more and "
                          "sharper images, the board in all parts of them",
                          uncertainty.nearest,
                          uncertainty.farthest,
                          std::isnan(depth) ? "not determined" : "uncertain by up to " + percent(depth))}});
    }
}

Note describeResiduals(double rms, const CameraFit& worse, ResidualCause cause)
{
    const std::string what = fmt::format("the corners are {:.2f} px rms from where they should be", rms);
    switch (cause) {
    case ResidualCause::NotSimultaneous:
        return {"not-simultaneous",
                what + fmt::format(
                           ", and {:.2f} px within each camera: take both images at the same moment, or "
                           "hold the board still, and see that the cameras cannot move against each other",
                           worse.rms)};
    case ResidualCause::RollingShutter:
        return {"rolling-shutter",
                what + ", as when rows are exposed one after the other while the board moves: hold it still"};
    case ResidualCause::Unknown:
        break;
    }
    return {"high-residuals",
            what +
                ", of unknown cause: see that the images are sharp and the board and the cameras keep still"};
}

void judgeResiduals(const CalibrationResult& result, ResidualCause cause, Reasons& reasons)
{
    constexpr double usable = 1.0; // px; matching looks for the same row
    const PairFit& fit = result.fit;
    if (fit.rms > highResiduals) {
        reasons.push_back(
            {fit.rms > usable ? Verdict::Poor : Verdict::Usable,
             describeResiduals(fit.rms, fit.left.rms > fit.right.rms ? fit.left : fit.right, cause)});
    }
    constexpr double grown = 1.5;
    const double growth = std::max(result.left.residualGrowth, result.right.residualGrowth);
    if (growth > grown) {
        reasons.push_back(
            {Verdict::Usable,
             {"residuals-grow",
              "towards the borders of the image the residuals grow to " + fmt::format("{:.1f}", growth) +
                  " times those of the middle: the lens is bent more than its model describes, or the images "
                  "are not sharp there"}});
    }
}

void judgeRows(double seen, double unseen, Reasons& reasons)
{
    constexpr double usable = 1.0; // px, a row
    constexpr double good = 0.25;  // what matching can tell anyway
    constexpr double wellAbove = 2;
    if (unseen > usable || (unseen > good && unseen > wellAbove * seen)) {
        reasons.push_back(
            {unseen > usable ? Verdict::Poor : Verdict::Usable,
             {"unseen-row-error",
              "the rows of views that a fit did not see differ by " + fmt::format("{:.2f}", unseen) +
                  " px rms, those that it saw by " + fmt::format("{:.2f}", seen) +
                  " px: the calibration does not carry over to other places; take more images, near "
                  "and far, in all parts of the image"}});
    }
}

void judgeArrangement(const CalibrationPair& records, Reasons& reasons)
{
    const cv::Mat_<float> projection = records.right.projectionMatrix;
    if (projection(1, 3) != 0) {
        reasons.push_back(
            {Verdict::Refused,
             {"vertical-rig",
              "the cameras stand above each other: only cameras side by side can be used; turn the rig "
              "or all images by 90 degrees"}});
    } else if (!(projection(0, 3) < 0)) {
        reasons.push_back({Verdict::Refused,
                           {"swapped-cameras",
                            "the left camera stands to the right of the right one, or all images are "
                            "mirrored: exchange the images of both cameras"}});
    }
}

} // namespace

double findFocalLengthUncertainty(const CalibrationResult& result)
{
    double largest = 0;
    for (const bool isLeft : {true, false}) {
        const CameraFit& camera = isLeft ? result.fit.left : result.fit.right;
        const CameraDeviation& deviation =
            isLeft ? result.uncertainty.cameras.left : result.uncertainty.cameras.right;
        for (const double relative : {deviation.focalLengthX / camera.matrix.at<double>(0, 0),
                                      deviation.focalLengthY / camera.matrix.at<double>(1, 1)}) {
            largest = relative <= largest || std::isnan(largest) ? largest : relative; // NaN stays
        }
    }
    return largest;
}

std::vector<Reason> judge(const CalibrationResult& result, ResidualCause cause)
{
    Reasons reasons;
    judgeArrangement(result.records, reasons);
    judgePoses(result.poses, reasons);
    judgeTilt(result.tiltRange, reasons);
    judgeFocalLength(findFocalLengthUncertainty(result), reasons);
    judgeDistances(result, reasons);
    judgeResiduals(result, cause, reasons);
    judgeRows(result.rowError, result.uncertainty.unseenRowError, reasons);
    judgeCoverage(result.left, "left", reasons);
    judgeCoverage(result.right, "right", reasons);
    return reasons;
}

} // namespace vision::toolkit
