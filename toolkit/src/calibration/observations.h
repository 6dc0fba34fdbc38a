// SPDX-License-Identifier: Apache-2.0
/// @file
/// What OpenCV takes for one observation.
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_OBSERVATIONS_H
#define VISION_TOOLKIT_SRC_CALIBRATION_OBSERVATIONS_H

namespace vision::toolkit {

/// Some versions of OpenCV count a point as one observation when they estimate standard deviations (4.6
/// does), others as two, its x and its y (4.10 does).
/// @return 1 or 2, by what a small calibration tells
int countObservationsPerPoint();

} // namespace vision::toolkit

#endif
