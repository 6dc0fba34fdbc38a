// SPDX-License-Identifier: Apache-2.0
/// @file
/// Taking a small rotation into a calibration, if that holds on pairs it was not found in.
#ifndef VISION_TOOLKIT_TRUST_CORRECTION_H
#define VISION_TOOLKIT_TRUST_CORRECTION_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/trust/check.h>

#include <vector>

namespace vision::toolkit {

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
