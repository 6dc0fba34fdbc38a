// SPDX-License-Identifier: Apache-2.0
/// @file
/// The small rotation of the right camera that row offsets speak of.
/// Whether a calibration still holds, judged by fresh pairs without any board.
/// Taking a small rotation into a calibration, if that holds on pairs it was not found in.
#ifndef VISION_TOOLKIT_CHECK_CALIBRATION_CHECK_H
#define VISION_TOOLKIT_CHECK_CALIBRATION_CHECK_H

#include <vision/calibration.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/features/row_offsets.h>
#include <vision/toolkit/input/images.h>
#include <vision/toolkit/note.h>
#include <vision/toolkit/records/calibration_pair.h>

#include <opencv2/core/matx.hpp>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vision::toolkit {

/// How the right camera has turned since the calibration, about the axes of its rectified frame (x to the
/// right, y down, z forward), in radians. Rows see pitch and roll well and yaw hardly; the distance of the
/// cameras not at all.
struct Rotation
{
    cv::Vec3d angles;      ///< pitch (about x), yaw (about y), roll (about z)
    cv::Vec3d uncertainty; ///< standard deviations
    double explained;      ///< rms of the row offsets that the rotation causes at the matched points, px
    double residual;       ///< spread of the row offsets that it leaves, px, as in RowOffsets
};

/// Fits the rotation to matches of many rectified pairs.
///
/// Turning the right camera by w moves the ray (x, y, 1) by w x (x, y, 1), and so its row by
/// f (w_z x - w_x (1 + y^2) + w_y x y): linear least squares with weights (Tukey's) against wrong matches.
/// @param right its rectified projection gives f and the principal point; of the size of the matched images
/// @return nothing for fewer than 20 matches
VISION_TOOLKIT_EXPORT std::optional<Rotation> fitRotation(const std::vector<FeatureMatch>& matches,
                                                          const Calibration& right);

/// Takes a rotation into the calibration of the right camera, so that rectified rows correspond again.
VISION_TOOLKIT_EXPORT Calibration correctRotation(const Calibration& right, const cv::Vec3d& angles);

/// What single points of one pair say.
struct PairCheck
{
    std::string name;
    RowOffsets rows;
    std::vector<FeatureMatch> matches; ///< in rectified images of the calibration's size, px
};

/// Measures a pair with a calibration.
/// @throws Failure when the images do not fit the calibration
VISION_TOOLKIT_EXPORT PairCheck checkPair(const std::string& name, const ImagePair& pair,
                                          const CalibrationPair& calibrations);

enum class CheckVerdict
{
    Holds,
    Drifted, ///< rows are off in a way that a small rotation of the right camera explains
    Foreign, ///< the calibration does not belong to the images
};

/// A part of the image, one of three by three.
struct RegionOffset
{
    double median; ///< px; NaN without matches
    std::size_t matched;
};

struct CalibrationCheck
{
    CheckVerdict verdict = CheckVerdict::Foreign;
    Notes reasons;     ///< for what the verdict is, with the way out; empty when the calibration holds
    RowOffsets rows{}; ///< of all pairs together
    double rms = 0;    ///< of the row offsets within five spreads of the median, px
    std::array<RegionOffset, 9> regions{}; ///< from top left to bottom right, row by row
    std::optional<Rotation> rotation;      ///< nothing with too few matches
    double trend = 0; ///< change of the median from the first to the last pair, px; NaN for fewer than three
};

/// Judges the pairs of a sequence together, in their order.
VISION_TOOLKIT_EXPORT CalibrationCheck judgeCalibration(const std::vector<PairCheck>& pairs,
                                                        const CalibrationPair& calibrations);

struct Correction
{
    Calibration right; ///< of the right camera, turned back
    double before = 0; ///< row offset of the pairs held back: median of its absolute value, px
    double after = 0;

    [[nodiscard]] bool improves() const { return after < before; }
};

/// Fits the rotation of the right camera to every other pair and tries it on the pairs between; if these get
/// better, the rotation of all pairs together is what the correction takes in.
/// @param pairs two at least, with matches
/// @throws Failure when the pairs are too few, or their matches
VISION_TOOLKIT_EXPORT Correction makeCorrection(const std::vector<PairCheck>& pairs,
                                                const CalibrationPair& calibrations);

} // namespace vision::toolkit

#endif
