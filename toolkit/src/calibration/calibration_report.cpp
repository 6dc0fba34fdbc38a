// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/calibration/calibration_report.h>

#include "calibration/fisheye.h"
#include "calibration/judgement.h"
#include "calibration/outlier_rejection.h"
#include "calibration/poses.h"
#include "calibration/quality.h"
#include "calibration/rectification.h"
#include "calibration/uncertainty.h"

#include <vision/toolkit/failure.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>

namespace vision::toolkit {

namespace {

constexpr std::size_t fewestViews = 3;
constexpr double tellsNoTilt = 0.03; // relative uncertainty of the focal length

CalibrationReport begin(const BoardSearch& search)
{
    CalibrationReport report;
    report.board = search.board;
    report.imageSize = search.imageSize;
    report.notes = search.notes;
    for (const PairDetection& sighting : search.pairs) {
        CalibratedPair pair;
        pair.images = sighting.images;
        pair.name = sighting.name;
        pair.isFailed = sighting.isFailed;
        pair.reason = sighting.reason;
        if (!sighting.view.empty()) {
            pair.picture = namePicture(report.pairs.size(), search.pairs.size(), sighting.name);
        }
        report.pairs.push_back(pair);
    }
    return report;
}

std::string describeRepair(const FittedView& view, const PairNames& images)
{
    if (!view.isLeftTurned && !view.isRightTurned) {
        return {};
    }
    const std::string turned = view.isLeftTurned && view.isRightTurned ? images.left + " and " + images.right
                               : view.isLeftTurned                     ? images.left
                                                                       : images.right;
    return turned + ": turned by 180 degrees, its corners were turned back";
}

double rmsOf(const std::vector<double>& values)
{
    double squares = 0;
    for (const double value : values) {
        squares += value * value;
    }
    return std::sqrt(squares / static_cast<double>(values.size()));
}

cv::Vec3d findCentre(const Board& board)
{
    const auto points = makeBoardPoints(board);
    const cv::Point3f middle = (points.front() + points.back()) / 2;
    return {middle.x, middle.y, 0};
}

void addView(const FittedView& view, const CalibrationPair& records, const Board& board, CalibratedPair& pair)
{
    pair.isUsed = view.isUsed;
    pair.reason = view.reason;
    pair.repair = describeRepair(view, pair.images);
    pair.isLeftTurned = view.isLeftTurned;
    pair.isRightTurned = view.isRightTurned;
    pair.view = view.view;
    pair.expectedLeft = view.pose.left;
    pair.expectedRight = view.pose.right;
    pair.rmsLeft = view.pose.rmsLeft;
    pair.rmsRight = view.pose.rmsRight;
    pair.rowError = rmsOf(findRowErrors(rectify(view.view, records)));
    pair.distance = cv::norm(view.pose.toCamera(findCentre(board)));
    pair.tilt = findTilt(view.pose);
}

CalibrationResult measure(const OutlierRejection& settled, const BoardSearch& search,
                          const CalibrationOptions& options)
{
    const cv::Size& size = search.imageSize;
    std::vector<const FittedView*> used;
    for (const FittedView& view : settled.views) {
        if (view.isUsed) {
            used.push_back(&view);
        }
    }
    const auto views = settled.usedViews();
    CalibrationResult result;
    result.fit = settled.fit;
    result.records = makeRecords(settled.fit, size, options.alpha);
    result.uncertainty = findUncertainty(views, size, search.board, options.lens, settled.fit);
    result.left = measureCamera(used, size, Side::Left);
    result.right = measureCamera(used, size, Side::Right);
    result.left.validArea = measureValidArea(result.records.left);
    result.right.validArea = measureValidArea(result.records.right);
    result.poses = selectPoses(views, size).size();
    result.tiltRange = settled.isStable && findFocalLengthUncertainty(result) < tellsNoTilt
                           ? findTiltRange(used)
                           : findCommonTiltRange(used, search);
    measureRectified(used, search.board, result);
    return result;
}

/// Whether the lens may be the reason for what does not fit.
bool isSuspicious(const CalibrationResult& result)
{
    constexpr double high = 0.5; // px
    constexpr double grown = 1.5;
    return std::max(result.fit.left.rms, result.fit.right.rms) > high ||
           std::max(result.left.residualGrowth, result.right.residualGrowth) > grown;
}

void fit(const BoardSearch& search, const CalibrationOptions& options, CalibrationReport& report)
{
    const OutlierRejection settled = settle(search, options.lens);
    const CalibrationResult result = measure(settled, search, options);
    for (const FittedView& view : settled.views) {
        addView(view, result.records, search.board, report.pairs[view.pair]);
    }
    report.reasons = judge(result);
    if (!settled.isStable) {
        report.reasons.push_back({Verdict::Refused,
                                  {"pairs-do-not-fit",
                                   "more than a third of the pairs do not fit each other: check that --left "
                                   "and --right name the images "
                                   "in the same order and that the cameras did not move between them"}});
    }
    if ((!settled.isStable || isSuspicious(result)) &&
        isFisheye(settled.usedViews(), search.imageSize, search.board, options.lens)) {
        report.reasons.push_back(
            {Verdict::Refused,
             {"fisheye-lens",
              "the cameras have fisheye lenses, which the calibration files cannot describe: "
              "take other lenses, or convert the images to those of a common lens first"}});
    }
    report.result = result;
}

void refuse(const std::string& code, const std::string& text, CalibrationReport& report)
{
    report.reasons.push_back({Verdict::Refused, {code, text}});
}

} // namespace

std::string namePicture(std::size_t pair, std::size_t pairs, const std::string& name)
{
    const std::size_t digits = std::to_string(pairs).size();
    const std::string number = std::to_string(pair + 1);
    return "view-" + std::string(digits - number.size(), '0') + number + "-" + name + ".jpg";
}

const char* nameOf(Verdict verdict)
{
    constexpr std::array names{"good", "usable", "poor", "refused"};
    return names[static_cast<std::size_t>(verdict)];
}

std::size_t CalibrationReport::countUsed() const
{
    return static_cast<std::size_t>(
        std::count_if(pairs.begin(), pairs.end(), [](const CalibratedPair& pair) { return pair.isUsed; }));
}

std::size_t CalibrationReport::countFailed() const
{
    return static_cast<std::size_t>(
        std::count_if(pairs.begin(), pairs.end(), [](const CalibratedPair& pair) { return pair.isFailed; }));
}

CalibrationReport calibrate(const BoardSearch& search, const CalibrationOptions& options)
{
    CalibrationReport report = begin(search);
    const auto views = static_cast<std::size_t>(
        std::count_if(search.pairs.begin(), search.pairs.end(), [](const PairDetection& pair) {
            return !pair.view.empty();
        }));
    if (views > 0) {
        try {
            fit(search, options, report);
        } catch (const cv::Exception& error) {
            refuse("not-determined",
                   "these views determine no cameras (" + toText(describe(error)) +
                       "): take images with the board tilted and in all parts of the image",
                   report);
        }
    }
    if (views < fewestViews) {
        refuse("too-few-pairs",
               "too few pairs show the whole board in both images: " + std::to_string(views) + ", at least " +
                   std::to_string(fewestViews) +
                   " are needed, 10 or more are good; check --board and take more pairs",
               report);
    }
    std::stable_sort(report.reasons.begin(), report.reasons.end(), [](const Reason& a, const Reason& b) {
        return a.verdict > b.verdict;
    });
    report.verdict = report.reasons.empty() ? Verdict::Good : report.reasons.front().verdict;
    return report;
}

} // namespace vision::toolkit
