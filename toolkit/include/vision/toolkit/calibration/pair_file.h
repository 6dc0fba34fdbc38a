// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_CALIBRATION_PAIR_FILE_H
#define VISION_TOOLKIT_CALIBRATION_PAIR_FILE_H

#include <vision/calibration.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/output/output_files.h>

#include <string>

namespace vision::toolkit {

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
