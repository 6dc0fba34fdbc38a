#ifndef VISION_TOOLKIT_CALIBRATING_PAIR_CALIBRATION_H
#define VISION_TOOLKIT_CALIBRATING_PAIR_CALIBRATION_H

#include <vision/calibration.h>
#include <vision/toolkit/calibrating/board.h>
#include <vision/toolkit/export.h>

#include <cstddef>
#include <vector>

namespace vision::toolkit {

/// The board as both cameras saw it at the same moment.
struct BoardView
{
    Corners left;
    Corners right;
};

/// A view that does not fit the others.
struct Outlier
{
    std::size_t view; ///< its place in the input
    double error;     ///< rms reprojection error in px when it was dropped
};

struct PairCalibration
{
    vision::Calibration left; ///< all matrices 32-bit float; in metres
    vision::Calibration right;
    double rmsLeft = 0;            ///< reprojection error of the left camera alone, px
    double rmsRight = 0;           ///< of the right camera alone
    double rmsStereo = 0;          ///< of both cameras with one position of the board for both
    double baseline = 0;           ///< m
    std::vector<std::size_t> used; ///< places in the input of the views that the calibration rests on
    std::vector<Outlier> outliers; ///< views that were dropped, the worst first
};

/// The fewest views that determine a calibration.
constexpr std::size_t fewestViews = 3;

/// Calibrates both cameras and their relative position (5 distortion coefficients each) and rectifies them
/// with only valid pixels and zero disparity at infinity.
///
/// One wrong view (a wrong partner image, a board turned by 180 degrees) spoils everything: the worst view is
/// dropped and all is calibrated anew until every view fits.
/// @param square edge length of a square in m
/// @throws Failure when too few views are left, or the cameras do not stand side by side, left one first
VISION_TOOLKIT_EXPORT PairCalibration calibratePair(const std::vector<BoardView>& views,
                                                    const cv::Size& imageSize, const cv::Size& board,
                                                    double square);

} // namespace vision::toolkit

#endif
