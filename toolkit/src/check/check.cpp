// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/check/calibration_check.h>

#include "base/statistics.h"
#include "check/drift_fit.h"
#include "check/limits.h"
#include "check/pair_verdicts.h"
#include "features/row_verdict.h"

#include <vision/toolkit/check/check_report.h>
#include <vision/toolkit/depth/depth_pipeline.h>
#include <vision/toolkit/records/inspection.h>

#include <fmt/format.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace vision::toolkit {

namespace {

FeatureMatches joinMatches(const std::vector<PairCheck>& pairs)
{
    FeatureMatches all;
    for (const PairCheck& pair : pairs) {
        all.features += pair.rows.features;
        all.matches.insert(all.matches.end(), pair.matches.begin(), pair.matches.end());
    }
    return all;
}

double findAtInfinity(const CalibrationPair& calibrations)
{
    return double{calibrations.left.projectionMatrix.at<float>(0, 2)} -
           double{calibrations.right.projectionMatrix.at<float>(0, 2)};
}

std::array<RegionOffset, 9> findRegions(const std::vector<FeatureMatch>& matches, const Calibration& left)
{
    std::array<std::vector<double>, 9> offsets;
    for (const auto& match : matches) {
        const int column = std::clamp(static_cast<int>(3 * match.left.x / left.width), 0, 2);
        const int row = std::clamp(static_cast<int>(3 * match.left.y / left.height), 0, 2);
        const int region = 3 * row + column;
        offsets[static_cast<std::size_t>(region)].push_back(match.right.y - match.left.y);
    }
    std::array<RegionOffset, 9> regions{};
    for (std::size_t i = 0; i < regions.size(); ++i) {
        regions[i] = {median(offsets[i]), offsets[i].size()};
    }
    return regions;
}

double findRms(const std::vector<FeatureMatch>& matches, const RowOffsets& rows)
{
    constexpr double outlier = 5; // spreads
    std::vector<double> offsets;
    for (const auto& [left, right] : matches) {
        if (std::abs(right.y - left.y - rows.median) <= outlier * rows.spread) {
            offsets.push_back(right.y - left.y);
        }
    }
    return rms(offsets);
}

/// The slope of a straight line through the medians, from the first pair to the last.
double findTrend(const std::vector<PairCheck>& pairs)
{
    constexpr std::size_t fewest = 3;
    double n = 0, x = 0, y = 0, xx = 0, xy = 0;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        if (pairs[i].rows.matched > 0) {
            const double place = static_cast<double>(i) / static_cast<double>(pairs.size() - 1);
            n += 1, x += place, y += pairs[i].rows.median, xx += place * place,
                xy += place * pairs[i].rows.median;
        }
    }
    return n < fewest ? std::numeric_limits<double>::quiet_NaN() : (n * xy - x * y) / (n * xx - x * x);
}

std::optional<BoardSummary> summarise(const std::vector<PairCheck>& pairs)
{
    std::vector<BoardCheck> boards;
    for (const PairCheck& pair : pairs) {
        if (pair.board) {
            boards.push_back(*pair.board);
        }
    }
    return boards.empty() ? std::nullopt : std::optional(summariseBoards(boards));
}

/// A small copy without the noise of single pixels.
cv::Mat makeThumbnail(const cv::Mat& grey)
{
    cv::Mat small;
    cv::resize(grey, small, {32, 24}, 0, 0, cv::INTER_AREA);
    small.convertTo(small, CV_32F);
    return small;
}

/// What the rows of all pairs together say, when single pairs say nothing against them.
Notes judgeDrift(const RowOffsets& rows, const DriftFit& fit)
{
    const CameraDrift& drift = fit.all;
    Notes reasons;
    if (drift.residual > limits::mostResidual ||
        std::abs(fit.significant.zoom.value) > limits::mostPlausibleZoom) {
        reasons.push_back({"rows-differ",
                           Severity::Wrong,
                           fmt::format("rows are off by different amounts (spread {:.2f} px), which no small "
                                       "movement of a camera explains",
                                       rows.spread)});
        return reasons;
    }
    if (!fit.matters()) {
        return reasons;
    }
    const bool isZoom = std::abs(fit.significant.zoom.value) > limits::mostZoom;
    reasons.push_back(
        isZoom
            ? Note("scale-changed",
                   Severity::Wrong,
                   fmt::format(
                       "the right image has become {:.2f} +- {:.2f} % larger against the left one, as when a "
                       "lens is zoomed or focused anew: rows and all distances are wrong, and only a new "
                       "calibration mends it",
                       drift.zoom.value,
                       drift.zoom.uncertainty))
            : Note("drifted",
                   Severity::Wrong,
                   fmt::format("rows are off by {:.2f} px rms, as if the right camera had turned ({})",
                               drift.explained,
                               describeDrift(drift))));
    return reasons;
}

Notes judgeBoard(const BoardSummary& board)
{
    const double error = board.squareMean - 1;
    if (std::abs(error) <= std::max(limits::mostSquareError, limits::beyondDoubt * board.squareUncertainty)) {
        return {};
    }
    return {{"square-differs",
             Severity::Wrong,
             fmt::format("squares of the board come out {:.2f} +- {:.2f} % too {}: distances are wrong by as "
                         "much, or the "
                         "board's squares are not of the given size",
                         100 * std::abs(error),
                         100 * board.squareUncertainty,
                         error > 0 ? "large" : "small")}};
}

/// Whether a drift of the size that matters might have been missed.
Notes judgeCertainty(const CameraDrift& drift, const Calibration& right)
{
    const double focalLength = double{right.projectionMatrix.at<float>(0, 0)};
    const double rows = 3 * drift.pitch.uncertainty * CV_PI / 180 * focalLength;
    const double roll = 3 * drift.roll.uncertainty;
    if (rows <= limits::mostUncertainRows && roll <= limits::mostUncertainRoll) {
        return {};
    }
    return {{"uncertain",
             fmt::format(
                 "what is found in both images leaves rows uncertain by {:.2f} px and roll by {:.2f} degrees "
                 "(three standard deviations): take more pairs, with structure in all parts of the image",
                 rows,
                 roll)}};
}

void conclude(CalibrationCheck& check, CheckVerdict verdict, const Notes& reasons)
{
    if (!reasons.empty() && check.reasons.empty()) {
        check.verdict = verdict;
    }
    append(check.reasons, reasons);
}

/// Whether the few points that are found lie on the same rows, which those matched by chance do not.
bool rowsCorrespond(const RowOffsets& rows)
{
    constexpr std::size_t fewest = 20;
    return rows.matched >= fewest && rows.spread < limits::mostResidual &&
           std::abs(rows.median) < limits::mostResidual;
}

void judge(CalibrationCheck& check, const std::vector<PairCheck>& pairs, const CalibrationPair& calibrations)
{
    check.verdict = CheckVerdict::Holds;
    conclude(check, CheckVerdict::Foreign, findPairFaults(calibrations.left, calibrations.right));
    if (!check.reasons.empty()) {
        return;
    }
    PairVerdicts verdicts = judgePairs(pairs);
    if (!verdicts.foreign.empty() && verdicts.foreign.front().code == "images-do-not-correspond" &&
        rowsCorrespond(check.rows)) {
        verdicts.foreign.clear();
        verdicts.unsynchronised.push_back(
            {"pairs-do-not-correspond",
             Severity::Wrong,
             "most pairs do not show the same scene at the same moment; what little "
             "is found in both images lies on the same rows, so the calibration is theirs"});
    }
    conclude(check, CheckVerdict::Foreign, verdicts.foreign);
    conclude(check, CheckVerdict::Unsynchronised, verdicts.unsynchronised);
    if (check.verdict == CheckVerdict::Foreign) {
        return;
    }
    const auto fit = fitDrift(verdicts.fitting, calibrations.right);
    if (!fit) {
        conclude(check,
                 CheckVerdict::CannotTell,
                 {{"too-few-matches",
                   fmt::format("only {} points are found in both images, too few to judge: take images with "
                               "more structure",
                               check.rows.matched)}});
        return;
    }
    check.drift = fit->all;
    const SequenceVerdict sequence = judgeSequence(pairs, *fit);
    conclude(check, CheckVerdict::Unsynchronised, sequence.unsynchronised);
    conclude(check, CheckVerdict::Drifted, sequence.drifted);
    const Notes drift = judgeDrift(check.rows, *fit);
    const bool isSpread = !drift.empty() && drift.front().code == "rows-differ";
    conclude(check, isSpread ? CheckVerdict::Foreign : CheckVerdict::Drifted, drift);
    if (check.board) {
        conclude(check, CheckVerdict::Drifted, judgeBoard(*check.board));
    }
    if (check.verdict == CheckVerdict::Holds) {
        conclude(check, CheckVerdict::CannotTell, judgeCertainty(fit->all, calibrations.right));
    } else if (pairs.size() == 1 && check.verdict != CheckVerdict::CannotTell && !check.board) {
        check.verdict = CheckVerdict::CannotTell;
        conclude(
            check,
            CheckVerdict::CannotTell,
            {{"one-pair",
              "one pair alone does not tell whether the calibration is wrong or its two images were taken at "
              "different moments: take more pairs"}});
    }
}

} // namespace

PairCheck checkPair(const std::string& name, const ImagePair& pair, const CalibrationPair& calibrations,
                    const Board& board)
{
    const DepthPipeline pipeline(makeRig(calibrations), DepthSettings{});
    const RawPair rectified = pipeline.rectify({pair.left.grey, pair.right.grey});
    FeatureMatches features = matchFeatures(rectified.left, rectified.right);
    const double scale = static_cast<double>(calibrations.left.width) / rectified.left.cols;
    for (FeatureMatch& match : features.matches) {
        match.left *= scale;
        match.right *= scale;
    }
    PairCheck check;
    check.name = name;
    check.rows = summariseRows(features, findAtInfinity(calibrations));
    check.matches = std::move(features.matches);
    if (!board.size.empty()) {
        check.board = checkBoard(pair, board, calibrations);
    }
    check.leftThumbnail = makeThumbnail(pair.left.grey);
    check.rightThumbnail = makeThumbnail(pair.right.grey);
    return check;
}

CalibrationCheck judgeCalibration(const std::vector<PairCheck>& pairs, const CalibrationPair& calibrations)
{
    const FeatureMatches all = joinMatches(pairs);
    CalibrationCheck check;
    check.rows = summariseRows(all, findAtInfinity(calibrations));
    check.rms = findRms(all.matches, check.rows);
    check.regions = findRegions(all.matches, calibrations.left);
    check.trend = findTrend(pairs);
    check.board = summarise(pairs);
    judge(check, pairs, calibrations);
    return check;
}

} // namespace vision::toolkit
