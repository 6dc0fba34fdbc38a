// SPDX-License-Identifier: Apache-2.0
/// @file
/// What makes calibrations unusable, in plain words.
#ifndef VISION_TOOLKIT_CALIBRATION_FAULTS_H
#define VISION_TOOLKIT_CALIBRATION_FAULTS_H

#include <vision/calibration.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/note.h>

namespace vision::toolkit {

/// What is wrong with the calibration of one camera, each with the way out. Empty if it can be used.
///
/// Codes: "size", "camera-matrix", "projection-matrix", "no-rotation", "distortion", "focal-length".
VISION_TOOLKIT_EXPORT Notes findFaults(const Calibration& calibration);

/// What keeps two calibrations without faults of their own from being those of a left and a right camera that
/// were calibrated together, each with the way out. Empty if they can be used.
///
/// Codes: "sizes-differ", "swapped", "left-translated", "same-camera", "vertical", "focal-lengths-differ",
/// "rows-differ".
VISION_TOOLKIT_EXPORT Notes findPairFaults(const Calibration& left, const Calibration& right);

} // namespace vision::toolkit

#endif
