// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/calibration/calibration_report.h>

#include "base/statistics.h"
#include "calibration/bend.h"
#include "calibration/fisheye.h"
#include "calibration/judgement.h"
#include "calibration/mishaps.h"
#include "calibration/outlier_rejection.h"
#include "calibration/poses.h"
#include "calibration/quality.h"
#include "calibration/rectification.h"
#include "calibration/uncertainty.h"

#include <vision/toolkit/failure.h>

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>

namespace vision::toolkit {

namespace {

constexpr std::size_t fewestViews = 3;
constexpr double tellsNoTilt = 0.03; // relative uncertainty of the focal length

CalibrationReport begin(const BoardSearch& search, const CalibrationOptions& options)
{
    CalibrationReport report;
    report.rotateLeft = options.rotateLeft;
    report.rotateRight = options.rotateRight;
    report.board = search.board;
    report.imageSize = search.imageSize;
    report.notes = search.notes;
    for (const PairDetection& detection : search.pairs) {
        CalibratedPair pair;
        pair.images = detection.images;
        pair.name = detection.name;
        pair.isFailed = detection.isFailed;
        pair.reason = detection.reason;
        if (!detection.view.empty()) {
            pair.picture = namePicture(report.pairs.size(), search.pairs.size(), detection.name);
        }
        report.pairs.push_back(pair);
    }
    return report;
}

std::optional<Note> describeRepair(const FittedView& view, const PairNames& images)
{
    if (!view.isLeftTurned && !view.isRightTurned) {
        return std::nullopt;
    }
    const std::string turned = view.isLeftTurned && view.isRightTurned ? images.left + " and " + images.right
                               : view.isLeftTurned                     ? images.left
                                                                       : images.right;
    return Note("turned-back", Severity::Info, "turned by 180 degrees, its corners were turned back", turned);
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
    pair.rowError = rms(findRowErrors(rectify(view.view, records)));
    pair.distance = cv::norm(view.pose.toCamera(findCentre(board)));
    pair.tilt = findTilt(view.pose);
}

std::vector<const FittedView*> listUsed(const OutlierRejection& kept)
{
    std::vector<const FittedView*> used;
    for (const FittedView& view : kept.views) {
        if (view.isUsed) {
            used.push_back(&view);
        }
    }
    return used;
}

CalibrationResult measure(const OutlierRejection& kept, const BoardSearch& search, const Board& board,
                          const CalibrationOptions& options)
{
    const cv::Size& size = search.imageSize;
    const auto used = listUsed(kept);
    const auto views = kept.usedViews();
    const auto [nearest, farthest] = findSeenDistances(used, board);
    CalibrationResult result;
    result.fit = kept.fit;
    result.records = makeRecords(kept.fit, size, options.alpha);
    result.uncertainty = findUncertainty(
        views, size, board, options.lens, kept.fit, {drawCovered(used, size, Side::Left), nearest, farthest});
    result.left = measureCamera(used, size, Side::Left);
    result.right = measureCamera(used, size, Side::Right);
    result.left.validArea = measureValidArea(result.records.left);
    result.right.validArea = measureValidArea(result.records.right);
    result.poses = selectPoses(views, size).size();
    result.tiltRange = kept.isStable && findFocalLengthUncertainty(result) < tellsNoTilt
                           ? findTiltRange(used)
                           : findCommonTiltRange(used, search);
    measureRectified(used, board, result);
    return result;
}

/// Whether the lens may be the reason for what does not fit.
bool isSuspicious(const CalibrationResult& result)
{
    constexpr double grown = 1.5;
    return std::max(result.fit.left.rms, result.fit.right.rms) > highResiduals ||
           std::max(result.left.residualGrowth, result.right.residualGrowth) > grown;
}

/// Each camera alone fits far better than both together.
bool holdOnlyAlone(const PairFit& fit)
{
    constexpr double farBetter = 2;
    return fit.rms > highResiduals && fit.rms > farBetter * std::max(fit.left.rms, fit.right.rms);
}

ResidualCause findCause(const OutlierRejection& kept, const Board& board)
{
    constexpr double mostOfIt = 0.5;
    if (holdOnlyAlone(kept.fit)) {
        return ResidualCause::NotSimultaneous;
    }
    return kept.fit.rms > highResiduals &&
                   explainByRollingShutter(kept.usedViews(), board, kept.fit) > mostOfIt
               ? ResidualCause::RollingShutter
               : ResidualCause::Unknown;
}

/// A fit that went astray has figures that mean nothing.
bool isAstray(const PairFit& fit, const cv::Size& imageSize)
{
    constexpr double shortest = 0.1; // of the image's width: 157 degrees across
    constexpr double longest = 100;  // and half a degree
    const double width = std::max(imageSize.width, imageSize.height);
    const auto isOutside = [width](const CameraFit& camera) {
        const double focalLength = camera.matrix.at<double>(0, 0);
        return !(focalLength > shortest * width && focalLength < longest * width);
    };
    return !std::isfinite(fit.rms) || !cv::checkRange(fit.translation) || isOutside(fit.left) ||
           isOutside(fit.right);
}

void refuse(const Note& note, CalibrationReport& report)
{
    report.reasons.push_back({Verdict::Refused, note});
}

/// When there is no fit, no pair is used.
void leaveOut(CalibrationReport& report)
{
    for (CalibratedPair& pair : report.pairs) {
        if (!pair.reason) {
            pair.reason = Note("not-fitted", Severity::Info, "is not used: all pairs together give no fit");
        }
    }
}

std::string formatBend(double bend, double deviation)
{
    return fmt::format("{:.2f} +- {:.2f} mm", 1000 * std::abs(bend), 1000 * deviation);
}

/// Takes the bend of the board into account when it is significant.
Board straighten(OutlierRejection& kept, const BoardSearch& search, const CalibrationOptions& options,
                 cv::Vec3d& deviation, Notes& notes)
{
    const auto views = kept.usedViews();
    const double repeats =
        static_cast<double>(views.size()) / static_cast<double>(selectPoses(views, search.imageSize).size());
    const auto bent = fitBentBoard(views, search.board, options.lens, kept.fit, repeats);
    if (!bent) {
        return search.board;
    }
    kept.fit = bent->fit;
    for (FittedView& view : kept.views) {
        view.pose = findPose(kept.fit, view.view, bent->board);
    }
    deviation = bent->deviation;
    const cv::Vec3d& bend = bent->board.bend;
    notes.push_back({"board-bent",
                     Severity::Info,
                     "the board is bowed by " + formatBend(bend[0], deviation[0]) +
                         " along its rows and by " + formatBend(bend[1], deviation[1]) +
                         " along its columns, which is taken into account"});
    return bent->board;
}

void addReasons(const OutlierRejection& kept, const BoardSearch& search, const CalibrationOptions& options,
                CalibrationReport& report)
{
    if (kept.swapped > 0) {
        report.reasons.push_back(
            {Verdict::Usable,
             {"pairs-swapped",
              fmt::format(
                  "left and right are exchanged in {} of {} pairs, which are not used: name each image "
                  "on its own side",
                  kept.swapped,
                  kept.views.size())}});
    }
    if (!kept.isStable) {
        refuse({"pairs-do-not-fit",
                "more than a third of the pairs do not fit each other: check that the images of both cameras "
                "are in the same order and that the cameras did not move between them"},
               report);
    }
    if ((!kept.isStable || isSuspicious(*report.result)) &&
        isFisheye(kept.usedViews(), search.imageSize, search.board, options.lens)) {
        refuse({"fisheye-lens",
                "the cameras have fisheye lenses, which the calibration files cannot describe: take other "
                "lenses, or convert the images to those of a common lens first"},
               report);
    }
}

/// As they were found: what was repaired one by one hides what all have in common.
std::vector<const BoardView*> listViews(const BoardSearch& search)
{
    std::vector<const BoardView*> views;
    for (const PairDetection& pair : search.pairs) {
        if (!pair.view.empty()) {
            views.push_back(&pair.view);
        }
    }
    return views;
}

/// One camera of most pairs had to be turned back.
bool areMostTurned(const OutlierRejection& kept)
{
    return 2 * std::count_if(kept.views.begin(),
                             kept.views.end(),
                             [](const FittedView& view) { return view.isLeftTurned != view.isRightTurned; }) >
           static_cast<std::ptrdiff_t>(kept.views.size());
}

void fit(const BoardSearch& search, const CalibrationOptions& options, CalibrationReport& report)
{
    OutlierRejection kept = rejectOutliers(search, options.lens);
    const bool isPoor = !kept.isStable || holdOnlyAlone(kept.fit);
    const auto cause = findChangedCamera(listViews(search),
                                         search.imageSize,
                                         search.board,
                                         options.lens,
                                         kept.fit,
                                         isPoor || areMostTurned(kept));
    if (cause) {
        refuse(*cause, report);
        leaveOut(report);
        return;
    }
    if (isAstray(kept.fit, search.imageSize)) {
        refuse({"not-determined",
                "these views determine no cameras: take images with the board tilted and in all parts of the "
                "image"},
               report);
        leaveOut(report);
        return;
    }
    cv::Vec3d bendDeviation;
    if (!isPoor) {
        report.board = straighten(kept, search, options, bendDeviation, report.notes);
    }
    report.result = measure(kept, search, report.board, options);
    report.result->bendDeviation = bendDeviation;
    for (const FittedView& view : kept.views) {
        addView(view, report.result->records, report.board, report.pairs[view.pair]);
    }
    report.reasons = judge(*report.result, findCause(kept, report.board));
    addReasons(kept, search, options, report);
}

/// More of the same image twice than of two.
bool holdsSameImages(const BoardSearch& search, std::size_t views)
{
    return 2 * static_cast<std::size_t>(std::count_if(
                   search.pairs.begin(),
                   search.pairs.end(),
                   [](const PairDetection& pair) { return !pair.view.empty() && isSameImage(pair.view); })) >
           views;
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
    CalibrationReport report = begin(search, options);
    const auto views = static_cast<std::size_t>(
        std::count_if(search.pairs.begin(), search.pairs.end(), [](const PairDetection& pair) {
            return !pair.view.empty();
        }));
    if (holdsSameImages(search, views)) {
        refuse({"identical-images", "both images of most pairs are the same: give those of both cameras"},
               report);
        leaveOut(report);
    } else if (views > 0) {
        try {
            fit(search, options, report);
        } catch (const cv::Exception& error) {
            refuse({"not-determined",
                    "these views determine no cameras (" + toText(describe(error)) +
                        "): take images with the board tilted and in all parts of the image"},
                   report);
            leaveOut(report);
        }
    }
    if (views < fewestViews) {
        refuse({"too-few-pairs",
                fmt::format(
                    "too few pairs show the whole board in both images: {}, at least {} are needed, 10 or "
                    "more are good; check the size of the board and take more pairs",
                    views,
                    fewestViews)},
               report);
    }
    std::stable_sort(report.reasons.begin(), report.reasons.end(), [](const Reason& a, const Reason& b) {
        return a.verdict > b.verdict;
    });
    report.verdict = report.reasons.empty() ? Verdict::Good : report.reasons.front().verdict;
    return report;
}

CalibrationReport calibrate(PairSequence& pairs, const Board& board, const CalibrationOptions& options,
                            const Progress& progress)
{
    return calibrate(findBoards(pairs, board, options.workers, progress), options);
}

CalibrationReport calibrate(const std::vector<RawPair>& pairs, const Board& board,
                            const CalibrationOptions& options, const Progress& progress)
{
    return calibrate(*makePairs(pairs), board, options, progress);
}

} // namespace vision::toolkit
