// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_RECORDS_CALIBRATION_PAIR_H
#define VISION_TOOLKIT_RECORDS_CALIBRATION_PAIR_H

#include <vision/calibration.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/files/output_files.h>

#include <optional>
#include <string>

namespace vision::toolkit {

enum class CalibrationFormat
{
    Own,           ///< `vision::Calibration::save`, one file per camera
    RosCameraInfo, ///< YAML, one file per camera
    OpenCvStereo,  ///< `intrinsics.yml` and `extrinsics.yml` of OpenCV's stereo sample
    KalibrChain,   ///< camchain YAML, one file for both cameras
    Middlebury,    ///< `calib.txt` with `cam0=[...]`, for rectified images
    Kitti,         ///< `calib.txt` with `P0: ...` to `P3: ...`, for rectified images
};

/// What a format is called in messages.
VISION_TOOLKIT_EXPORT std::string nameOf(CalibrationFormat format);

/// Tells the format of a calibration file by what it holds.
/// @return nothing when it cannot be read or is none of them
VISION_TOOLKIT_EXPORT std::optional<CalibrationFormat> identify(const std::string& file);

/// The calibrations of the two cameras of a pair.
struct CalibrationPair
{
    Calibration left;
    Calibration right;
};

/// Loads a calibration whatever it holds; findFaults() tells what of it cannot be used.
/// @throws Failure naming the file when it is missing or no calibration file
VISION_TOOLKIT_EXPORT Calibration loadCalibration(const std::string& file);

/// Loads a calibration and checks it on its own.
/// @throws Failure naming the file when it is missing, broken or has a fault (findFaults())
VISION_TOOLKIT_EXPORT Calibration loadUsable(const std::string& file);

/// Loads the calibrations of both cameras and checks that they can be used together.
/// @throws Failure naming the file when one is missing, broken, incomplete or does not fit the other
VISION_TOOLKIT_EXPORT CalibrationPair loadCalibrations(const std::string& leftFile,
                                                       const std::string& rightFile);

/// Writes a calibration to be committed with the other files, and reads it back: saving alone does not tell
/// whether the file is complete.
/// @throws Failure naming the file when it could not be written
VISION_TOOLKIT_EXPORT void saveCalibration(const Calibration& calibration, const std::string& name,
                                           OutputFiles& output);

} // namespace vision::toolkit

#endif
