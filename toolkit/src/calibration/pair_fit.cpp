// SPDX-License-Identifier: Apache-2.0
#include "calibration/pair_fit.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <limits>

namespace vision::toolkit {

namespace {

/// Solving the normal equations by LU instead of a singular value decomposition gives the same to six digits,
/// three times faster for a dozen views and twelve times for two hundred.
constexpr int solver = cv::CALIB_USE_LU;

constexpr int mostIterations = 30; // OpenCV's default

using BoardPoints = std::vector<cv::Point3f>;

/// The same views in the form that OpenCV takes.
struct Observations
{
    std::vector<BoardPoints> boards;
    std::vector<Corners> left;
    std::vector<Corners> right;
};

Observations collect(const std::vector<const BoardView*>& views, const Board& board)
{
    Observations observations;
    for (const BoardView* view : views) {
        observations.boards.push_back(makeBoardPoints(board, view->ids));
        observations.left.push_back(view->left);
        observations.right.push_back(view->right);
    }
    return observations;
}

int flagsOf(const LensModel& lens)
{
    int flags = solver;
    flags |= lens.coefficients == 4 || lens.fixK3 ? cv::CALIB_FIX_K3 : 0;
    flags |= lens.coefficients >= 8 ? cv::CALIB_RATIONAL_MODEL : 0;
    flags |= lens.coefficients >= 14 ? cv::CALIB_THIN_PRISM_MODEL | cv::CALIB_TILTED_MODEL : 0;
    flags |= lens.fixTangential ? cv::CALIB_ZERO_TANGENT_DIST : 0;
    return flags;
}

/// From a start nearby, what an iteration changes soon is far below the uncertainty, and with hundreds of
/// views each one takes its time.
cv::TermCriteria stopOf(const CameraFit* start)
{
    constexpr double fine = 1e-7; // of the parameters
    return {cv::TermCriteria::COUNT + cv::TermCriteria::EPS,
            mostIterations,
            start == nullptr ? std::numeric_limits<double>::epsilon() : fine};
}

CameraFit fitCamera(const std::vector<BoardPoints>& boards, const std::vector<Corners>& corners,
                    const cv::Size& imageSize, const LensModel& lens, const CameraFit* start)
{
    CameraFit camera;
    int flags = flagsOf(lens);
    if (start != nullptr) {
        camera.matrix = start->matrix.clone();
        camera.distortion = start->distortion.clone();
        flags |= cv::CALIB_USE_INTRINSIC_GUESS;
    }
    cv::Mat rotations;
    cv::Mat translations;
    camera.rms = cv::calibrateCamera(boards,
                                     corners,
                                     imageSize,
                                     camera.matrix,
                                     camera.distortion,
                                     rotations,
                                     translations,
                                     flags,
                                     stopOf(start));
    camera.distortion = camera.distortion.reshape(1, 1).colRange(0, lens.coefficients).clone();
    return camera;
}

} // namespace

PairFit fitPair(const std::vector<const BoardView*>& views, const cv::Size& imageSize, const Board& board,
                const LensModel& lens, const PairFit* start)
{
    const Observations seen = collect(views, board);
    PairFit fit;
    cv::parallel_for_({0, 2}, [&](const cv::Range& range) {
        for (int side = range.start; side < range.end; ++side) {
            const bool isLeft = side == 0;
            const CameraFit* from = start == nullptr ? nullptr : isLeft ? &start->left : &start->right;
            (isLeft ? fit.left : fit.right) =
                fitCamera(seen.boards, isLeft ? seen.left : seen.right, imageSize, lens, from);
        }
    });
    cv::Mat essential;
    cv::Mat fundamental;
    fit.rms = cv::stereoCalibrate(seen.boards,
                                  seen.left,
                                  seen.right,
                                  fit.left.matrix,
                                  fit.left.distortion,
                                  fit.right.matrix,
                                  fit.right.distortion,
                                  imageSize,
                                  fit.rotation,
                                  fit.translation,
                                  essential,
                                  fundamental,
                                  cv::CALIB_FIX_INTRINSIC | solver);
    return fit;
}

} // namespace vision::toolkit
