// SPDX-License-Identifier: Apache-2.0
/// @file
/// Calibrating a camera pair, and all that tells whether the calibration can be trusted.
#ifndef VISION_TOOLKIT_CALIBRATION_CALIBRATION_REPORT_H
#define VISION_TOOLKIT_CALIBRATION_CALIBRATION_REPORT_H

#include <vision/toolkit/board/board_search.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/input/images.h>
#include <vision/toolkit/note.h>
#include <vision/toolkit/progress.h>
#include <vision/toolkit/records/calibration_pair.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vision::toolkit {

/// Which distortion a lens is taken to have; the terms are OpenCV's.
struct LensModel
{
    int coefficients = 5; ///< 4 (k1 k2 p1 p2), 5 (and k3), 8 (and k4 to k6) or 14 (and thin prism, tilt)
    bool fixK3 = false;   ///< k3 is 0
    bool fixTangential = false; ///< p1 and p2 are 0
};

struct CameraFit
{
    cv::Mat matrix;     ///< 3x3, `CV_64F`, px
    cv::Mat distortion; ///< 1xN, `CV_64F`
    double rms = 0;     ///< reprojection error of this camera alone, px
};

/// OpenCV's estimates in double precision. A point X of the left camera's frame is R X + T in the right
/// one's.
struct PairFit
{
    CameraFit left;
    CameraFit right;
    cv::Mat rotation;    ///< R, 3x3, `CV_64F`
    cv::Mat translation; ///< T, 3x1, `CV_64F`, in m
    double rms = 0;      ///< with one position of the board for both cameras, px
};

/// Standard deviations of a camera's parameters, px. They take the residuals of different points for
/// independent, those of one point in x and y for one observation.
struct CameraDeviation
{
    double focalLengthX = 0;
    double focalLengthY = 0;
    double principalPointX = 0;
    double principalPointY = 0;
};

struct PairDeviation
{
    CameraDeviation left;
    CameraDeviation right;
};

/// The expected error of a depth, one standard deviation each; NaN with too few poses to tell, and where a
/// camera sees nothing at this depth.
struct DepthError
{
    double depth = 0;                ///< m, from the left camera
    double fromCalibration = 0;      ///< m, median over the part of the image that the board covered
    double worstFromCalibration = 0; ///< m, 95th percentile over the same part
    double fromMatching = 0;         ///< m, of a disparity that is off by a quarter of a pixel
    bool isExtrapolated = false;     ///< the board was never seen that near or that far
};

/// Standard deviations of what was estimated; NaN where there are too few poses to tell.
struct PairUncertainty
{
    PairDeviation cameras{};
    double baseline = 0; ///< m
    cv::Vec3d rotation;  ///< of the right camera against the left one, about its x, y and z axis; degrees
    double unseenRowError = 0;      ///< px rms, of views against fits that did not see them
    std::vector<DepthError> depths; ///< at 0.5, 1, 2 and 5 m
    double nearest = 0;             ///< m, the nearest and the farthest point of the board in any view
    double farthest = 0;
    /// The 95th percentile of the error of a depth over that depth, at the worst distance between these two.
    double relativeDepthError = 0;
};

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
    bool isFailed = false;      ///< an image could not be used at all
    bool isUsed = false;        ///< the calibration rests on it
    std::optional<Note> reason; ///< why it is not used
    std::optional<Note> repair; ///< what was repaired
    bool isLeftTurned = false;  ///< the image was taken as if turned by 180 degrees
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
    cv::Vec3d bendDeviation; ///< m, standard deviations of the board's bend; zero when it is taken for flat
};

struct CalibrationReport
{
    Verdict verdict = Verdict::Refused;
    std::vector<Reason> reasons; ///< the worst first; empty for a good calibration
    Board board;                 ///< as it was found, with its bend when that was taken into account
    cv::Size imageSize;
    int rotateLeft = 0; ///< degrees by which the images were turned, as others of these cameras must be
    int rotateRight = 0;
    std::vector<CalibratedPair> pairs;
    std::optional<CalibrationResult> result; ///< none when nothing could be fitted
    Notes notes;

    [[nodiscard]] VISION_TOOLKIT_EXPORT std::size_t countUsed() const;
    [[nodiscard]] VISION_TOOLKIT_EXPORT std::size_t countFailed() const;
};

struct CalibrationOptions
{
    LensModel lens;
    double alpha = 0;   ///< 0: rectified images show only valid pixels, 1: all pixels
    int rotateLeft = 0; ///< what PairInput says of these pairs, for the report
    int rotateRight = 0;
    unsigned workers = 0; ///< pairs that are searched at the same time; 0: as many as there are cores
};

/// What the picture of a pair is called: `view-`, the number of the pair from 1, its name.
VISION_TOOLKIT_EXPORT std::string namePicture(std::size_t pair, std::size_t pairs, const std::string& name);

/// Calibrates from the views of a search, repairs what can be repaired, drops what does not fit, and judges
/// the outcome. Nothing is thrown for views that give no calibration: the verdict is then Refused.
VISION_TOOLKIT_EXPORT CalibrationReport calibrate(const BoardSearch& search,
                                                  const CalibrationOptions& options = {});

/// Finds the board in all pairs, then the same.
/// @param progress of the search, which takes the longest
/// @throws Failure as findBoards()
VISION_TOOLKIT_EXPORT CalibrationReport calibrate(PairSequence& pairs, const Board& board,
                                                  const CalibrationOptions& options = {},
                                                  const Progress& progress = {});

/// The same with images in memory; 8 or 16 bits per channel, grey or colour (BGR).
VISION_TOOLKIT_EXPORT CalibrationReport calibrate(const std::vector<RawPair>& pairs, const Board& board,
                                                  const CalibrationOptions& options = {},
                                                  const Progress& progress = {});

/// The report in lines: the pairs, the figures, the verdict. Reasons and failed images are left to the
/// caller.
VISION_TOOLKIT_EXPORT std::vector<std::string> formatReport(const CalibrationReport& report);

/// The report as a JSON object, with a line feed at the end. Lengths are in m (`baseline`) or have their unit
/// in the key, angles have it, everything else is in px or a share; what is unknown is null.
/// docs/calibrating.md lists the keys.
VISION_TOOLKIT_EXPORT std::string formatReportJson(const CalibrationReport& report);

} // namespace vision::toolkit

#endif
