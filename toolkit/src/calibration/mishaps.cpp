// SPDX-License-Identifier: Apache-2.0
#include "calibration/mishaps.h"

#include "base/statistics.h"
#include "board/point_order.h"
#include "calibration/board_pose.h"
#include "calibration/poses.h"
#include "calibration/projection.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>

namespace vision::toolkit {

namespace {

/// Where the right camera is, by one view alone.
struct RelativePose
{
    cv::Matx33d rotation;
    cv::Vec3d translation;

    [[nodiscard]] RelativePose inverse() const { return {rotation.t(), -(rotation.t() * translation)}; }
};

RelativePose findRelativePose(const PairFit& fit, const BoardView& view, const Board& board)
{
    const auto points = makeBoardPoints(board, view.ids);
    cv::Vec3d leftAxis, leftTranslation, rightAxis, rightTranslation;
    cv::solvePnP(points, view.left, fit.left.matrix, fit.left.distortion, leftAxis, leftTranslation);
    cv::solvePnP(points, view.right, fit.right.matrix, fit.right.distortion, rightAxis, rightTranslation);
    cv::Matx33d left;
    cv::Matx33d right;
    cv::Rodrigues(leftAxis, left);
    cv::Rodrigues(rightAxis, right);
    const cv::Matx33d rotation = right * left.t();
    return {rotation, rightTranslation - rotation * leftTranslation};
}

/// One view tells an angle to a degree or two, and a baseline to a tenth.
bool isAlike(const RelativePose& one, const RelativePose& other)
{
    constexpr double sameAngle = 5 * CV_PI / 180;
    constexpr double sameLength = 0.3;
    cv::Vec3d angle;
    cv::Rodrigues(one.rotation * other.rotation.t(), angle);
    return cv::norm(angle) < sameAngle &&
           cv::norm(one.translation - other.translation) < sameLength * cv::norm(one.translation);
}

/// The median of the errors of these views, px.
double findMedianError(const std::vector<const BoardView*>& views, const Board& board, const PairFit& fit)
{
    std::vector<double> errors;
    errors.reserve(views.size());
    for (const BoardView* view : views) {
        errors.push_back(findPose(fit, *view, board).rms());
    }
    return median(errors);
}

/// That of a fit with the right images as they would be without a change; infinite without a fit.
double tryWithout(ImageChange change, const std::vector<const BoardView*>& views, const cv::Size& imageSize,
                  const Board& board, const LensModel& lens)
{
    std::vector<BoardView> undone;
    for (const BoardView* view : views) {
        undone.push_back(*view);
        undone.back().right = undo(change, view->right, imageSize, board.size.width);
        agreeOnOrder(board, undone.back());
    }
    std::vector<const BoardView*> pointers;
    pointers.reserve(undone.size());
    for (const BoardView& view : undone) {
        pointers.push_back(&view);
    }
    try {
        return findMedianError(pointers, board, fitPair(pointers, imageSize, board, lens));
    } catch (const cv::Exception&) {
        return INFINITY;
    }
}

Note describeTurn(const char* angle, const char* code)
{
    return {code,
            Severity::Wrong,
            std::string("all images of one camera are turned by ") + angle +
                " degrees against those of the other one: turn them back, and those that are measured with "
                "this calibration, too"};
}

Note describe(ImageChange change)
{
    switch (change) {
    case ImageChange::TurnedRight:
    case ImageChange::TurnedLeft:
        return describeTurn("90", "camera-turned-90");
    case ImageChange::Mirrored:
    case ImageChange::MirroredUpsideDown:
        return {"camera-mirrored",
                Severity::Wrong,
                "all images of one camera are mirrored against those of the other one: switch the mirroring "
                "off in the camera or in what stored them"};
    default:
        return describeTurn("180", "camera-turned-180");
    }
}

/// How much the right camera is rolled against the left one, 0 to 180 degrees.
double findRoll(const PairFit& fit)
{
    return std::abs(std::atan2(fit.rotation.at<double>(1, 0), fit.rotation.at<double>(0, 0))) * 180 / CV_PI;
}

} // namespace

bool isSameImage(const BoardView& view)
{
    constexpr double same = 0.5; // px; copies that were stored anew differ by noise
    std::vector<double> distances;
    for (std::size_t i = 0; i < view.left.size(); ++i) {
        distances.push_back(cv::norm(view.left[i] - view.right[i]));
    }
    return median(distances) < same;
}

std::vector<bool> findSwapped(const std::vector<const BoardView*>& views, const Board& board,
                              const PairFit& fit)
{
    std::vector<RelativePose> poses;
    poses.reserve(views.size());
    for (const BoardView* view : views) {
        poses.push_back(findRelativePose(fit, *view, board));
    }
    const auto countAlike = [&poses](const RelativePose& pose) {
        return std::count_if(
            poses.begin(), poses.end(), [&pose](const RelativePose& other) { return isAlike(pose, other); });
    };
    const auto usual = *std::max_element(
        poses.begin(), poses.end(), [&countAlike](const RelativePose& a, const RelativePose& b) {
            return countAlike(a) < countAlike(b);
        });
    std::vector<bool> swapped;
    swapped.reserve(poses.size());
    for (const RelativePose& pose : poses) {
        swapped.push_back(isAlike(usual, pose.inverse()) && !isAlike(usual, pose));
    }
    return swapped;
}

std::optional<Note> findChangedCamera(const std::vector<const BoardView*>& views, const cv::Size& imageSize,
                                      const Board& board, const LensModel& lens, const PairFit& fit,
                                      bool isPoor)
{
    constexpr double quarterTurn = 45; // degrees of roll from which on it is no crooked mounting
    constexpr double halfTurn = 135;
    const double roll = findRoll(fit);
    if (roll > halfTurn) {
        return describe(ImageChange::Turned);
    }
    if (roll > quarterTurn) {
        return describe(ImageChange::TurnedRight);
    }
    if (!isPoor || !canBeTurned(board)) { // the order of numbered points tells all by itself
        return std::nullopt;
    }
    constexpr std::size_t enough = 12;
    constexpr double farBetter = 0.3;
    constexpr double fits = 1; // px
    const auto some = spread(views, enough);
    const double limit =
        std::min(fits, farBetter * tryWithout(ImageChange::None, some, imageSize, board, lens));
    double best = limit;
    std::optional<Note> cause;
    for (const ImageChange change : {ImageChange::Turned,
                                     ImageChange::TurnedRight,
                                     ImageChange::TurnedLeft,
                                     ImageChange::Mirrored,
                                     ImageChange::MirroredUpsideDown}) {
        const double error = tryWithout(change, some, imageSize, board, lens);
        if (error < best) {
            best = error;
            cause = describe(change);
        }
    }
    return cause;
}

double explainByRollingShutter(const std::vector<const BoardView*>& views, const Board& board,
                               const PairFit& fit)
{
    double before = 0;
    double after = 0;
    for (const BoardView* view : views) {
        for (const bool isLeft : {true, false}) {
            const Corners& seen = isLeft ? view->left : view->right;
            cv::Mat rotation;
            const Projection projection =
                projectFitted(isLeft ? fit.left : fit.right, view->ids, seen, board, rotation);
            const cv::Scalar middle = cv::mean(seen);
            cv::Mat byMotion = cv::Mat::zeros(projection.residuals.rows, 2, CV_64F); // in x and in y
            for (int row = 0; row < byMotion.rows; ++row) {
                byMotion.at<double>(row, row % 2) = seen[static_cast<std::size_t>(row / 2)].y - middle[1];
            }
            const cv::Mat byPose = projection.byPose();
            const cv::Mat residuals = takeOut(byPose, projection.residuals);
            const double rest = cv::norm(takeOut(takeOut(byPose, byMotion), residuals));
            before += cv::norm(residuals) * cv::norm(residuals);
            after += rest * rest;
        }
    }
    return 1 - after / before;
}

} // namespace vision::toolkit
