// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/check/calibration_check.h>

#include "base/statistics.h"
#include "features/row_verdict.h"

#include <vision/toolkit/check/check_report.h>
#include <vision/toolkit/depth/depth_pipeline.h>
#include <vision/toolkit/records/inspection.h>

#include <fmt/format.h>

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
        regions[i].matched = offsets[i].size();
        regions[i].median = medianAndSpread(std::move(offsets[i])).median;
    }
    return regions;
}

double findRms(const std::vector<FeatureMatch>& matches, const RowOffsets& rows)
{
    constexpr double outlier = 5; // spreads
    double squares = 0;
    std::size_t count = 0;
    for (const auto& [left, right] : matches) {
        const double offset = right.y - left.y;
        if (std::abs(offset - rows.median) <= outlier * rows.spread) {
            squares += offset * offset;
            ++count;
        }
    }
    return count == 0 ? 0 : std::sqrt(squares / static_cast<double>(count));
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

/// Whether rows are off systematically: beyond what calibrating itself leaves, and beyond doubt.
bool isDrift(const Rotation& rotation)
{
    constexpr double mostExplained = 0.3; // px; calibrating leaves 0.1 to 0.2
    constexpr double beyondDoubt = 4;     // standard deviations
    const auto isSignificant = [&](int axis) {
        return std::abs(rotation.angles[axis]) > beyondDoubt * rotation.uncertainty[axis];
    };
    return rotation.explained > mostExplained && (isSignificant(0) || isSignificant(1) || isSignificant(2));
}

/// What speaks against the calibration belonging to the images at all.
Notes findForeign(const CalibrationCheck& check, const CalibrationPair& calibrations)
{
    constexpr double mostResidual = 1.2; // px, as for a single pair
    Notes reasons = findPairFaults(calibrations.left, calibrations.right);
    if (!reasons.empty()) {
        return reasons;
    }
    if (isForeign(check.rows) || check.rows.behind > 0.5) {
        return judgeRows(check.rows, RowOffsets{});
    }
    if (!check.rotation) {
        return {{"too-few-matches",
                 "only " + std::to_string(check.rows.matched) +
                     " points are found in both images, too few to judge: take images with more structure"}};
    }
    if (check.rotation->residual > mostResidual) {
        return {{"rows-differ",
                 "rows are off by different amounts (spread " + fmt::format("{:.2f}", check.rows.spread) +
                     " px), which no small rotation explains: use the calibration of these cameras, or make "
                     "a new "
                     "one with 'stereovision calibrate'"}};
    }
    return {};
}

} // namespace

PairCheck checkPair(const std::string& name, const ImagePair& pair, const CalibrationPair& calibrations)
{
    const DepthPipeline pipeline(makeRig(calibrations), DepthSettings{});
    const RawPair rectified = pipeline.rectify({pair.left.grey, pair.right.grey});
    FeatureMatches features = matchFeatures(rectified.left, rectified.right);
    const double scale = static_cast<double>(calibrations.left.width) / rectified.left.cols;
    for (FeatureMatch& match : features.matches) {
        match.left *= scale;
        match.right *= scale;
    }
    PairCheck check{name, summariseRows(features, findAtInfinity(calibrations)), {}};
    check.matches = std::move(features.matches);
    return check;
}

CalibrationCheck judgeCalibration(const std::vector<PairCheck>& pairs, const CalibrationPair& calibrations)
{
    const FeatureMatches all = joinMatches(pairs);
    CalibrationCheck check;
    check.rows = summariseRows(all, findAtInfinity(calibrations));
    check.rms = findRms(all.matches, check.rows);
    check.regions = findRegions(all.matches, calibrations.left);
    check.rotation = fitRotation(all.matches, calibrations.right);
    check.trend = findTrend(pairs);
    check.reasons = findForeign(check, calibrations);
    if (!check.reasons.empty()) {
        check.verdict = CheckVerdict::Foreign;
    } else if (isDrift(*check.rotation)) {
        check.verdict = CheckVerdict::Drifted;
        check.reasons.push_back(
            {"drifted",
             "rows are off by " + fmt::format("{:.2f}", check.rotation->explained) +
                 " px rms, as if the right camera had turned (" + describeRotation(*check.rotation) +
                 " degrees): 'stereovision check --correct' takes it into the calibration, or "
                 "make a new one with 'stereovision calibrate'"});
    } else {
        check.verdict = CheckVerdict::Holds;
    }
    return check;
}

} // namespace vision::toolkit
