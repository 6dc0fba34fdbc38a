// SPDX-License-Identifier: Apache-2.0
/// @file
/// A calibration with all that tells whether it can be trusted.
#ifndef VISION_TOOLKIT_CALIBRATING_CALIBRATION_REPORT_H
#define VISION_TOOLKIT_CALIBRATING_CALIBRATION_REPORT_H

#include <vision/toolkit/calibrating/board_search.h>
#include <vision/toolkit/calibrating/pair_fit.h>
#include <vision/toolkit/calibrating/uncertainty.h>
#include <vision/toolkit/calibration/pair_file.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/note.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vision::toolkit {

/// From best to worst.
enum class Verdict
{
    Good,
    Usable,
    Poor,
    Refused,
};

/// "good", "usable", "poor" or "refused".
VISION_TOOLKIT_EXPORT const char* nameOf(Verdict verdict);

/// Why a calibration is not good, and what to do.
struct Reason
{
    Verdict verdict = Verdict::Refused; ///< the best one that it leaves
    Note note;
};

/// How well the board covers an image of one camera, and how well the lens is described.
struct CameraQuality
{
    double coveredArea = 0; ///< share of the image in which the board was seen
    /// How far the board got towards each image corner from the centre, 1 = all the way: top left, top right,
    /// bottom left, bottom right.
    std::array<double, 4> reach{};
    /// The residuals of the outermost quarter of all points over those of the innermost quarter; 1 when the
    /// model of the lens is right.
    double residualGrowth = 1;
    double validArea = 0; ///< share of the rectified image that shows something
};

/// A pair of images and what became of it.
struct CalibratedPair
{
    PairNames images;
    std::string name;
    bool isFailed = false;     ///< an image could not be used at all
    bool isUsed = false;       ///< the calibration rests on it
    std::string reason;        ///< why it is not used, otherwise empty
    std::string repair;        ///< what was repaired, otherwise empty
    bool isLeftTurned = false; ///< the image was taken as if turned by 180 degrees
    bool isRightTurned = false;

    // Where the board was found, whether used or not:
    std::string picture;  ///< the file that shows it
    BoardView view;       ///< as repaired
    Corners expectedLeft; ///< where the fit has the points, px
    Corners expectedRight;
    double rmsLeft = 0; ///< px
    double rmsRight = 0;
    double rowError = 0; ///< px rms
    double distance = 0; ///< m, from the left camera to the board's centre
    double tilt = 0;     ///< degrees between the board and the plane of the left image
};

/// What all views together give; meaningful for a fit only.
struct CalibrationResult
{
    PairFit fit;
    CalibrationPair records;
    PairUncertainty uncertainty;
    CameraQuality left;
    CameraQuality right;
    std::size_t poses = 0;      ///< different ones of the board among the pairs used
    double tiltRange = 0;       ///< degrees, the largest angle between two positions of the board
    double rowError = 0;        ///< px rms, rectified
    double worstRowError = 0;   ///< px
    double squareMean = 0;      ///< triangulated distance of neighbouring points over the given one
    double squareDeviation = 0; ///< its standard deviation
};

struct CalibrationReport
{
    Verdict verdict = Verdict::Refused;
    std::vector<Reason> reasons; ///< the worst first; empty for a good calibration
    Board board;
    cv::Size imageSize;
    std::vector<CalibratedPair> pairs;
    std::optional<CalibrationResult> result; ///< none when nothing could be fitted
    Notes notes;

    [[nodiscard]] VISION_TOOLKIT_EXPORT std::size_t countUsed() const;
    [[nodiscard]] VISION_TOOLKIT_EXPORT std::size_t countFailed() const;
};

struct CalibrationOptions
{
    LensModel lens;
    double alpha = 0; ///< 0: rectified images show only valid pixels, 1: all pixels
};

/// What the picture of a pair is called: `view-`, the number of the pair from 1, its name.
VISION_TOOLKIT_EXPORT std::string namePicture(std::size_t pair, std::size_t pairs, const std::string& name);

/// Calibrates from the views of a search, repairs what can be repaired, drops what does not fit, and judges
/// the outcome. Nothing is thrown for views that give no calibration: the verdict is then Refused.
VISION_TOOLKIT_EXPORT CalibrationReport calibrate(const BoardSearch& search,
                                                  const CalibrationOptions& options);

} // namespace vision::toolkit

#endif
