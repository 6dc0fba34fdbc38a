#ifndef TOOL_IO_CALIBRATION_FILE_H
#define TOOL_IO_CALIBRATION_FILE_H

#include "io/output_files.h"

#include <vision/calibration.h>

#include <string>
#include <utility>

namespace tool {

using CalibrationPair = std::pair<vision::Calibration, vision::Calibration>;

/// Loads the calibrations of both cameras and checks that they can be used together.
/// @throws Failure naming the file when one is missing, broken, incomplete or does not fit the other
CalibrationPair loadCalibrations(const std::string& leftFile, const std::string& rightFile);

/// Writes a calibration to be committed with the other files, and reads it back: saving alone does not tell
/// whether the file is complete.
/// @throws Failure naming the file when it could not be written
void saveCalibration(const vision::Calibration& calibration, const std::string& name, OutputFiles& output);

} // namespace tool

#endif
