// SPDX-License-Identifier: Apache-2.0
/// The library's log categories, one per module; null until static initialisation has registered them.
#ifndef VISION_LOG_CATEGORIES_H
#define VISION_LOG_CATEGORIES_H

#include "log.h"

namespace vision::detail {

extern LogCategory* const calibrationCategory; ///< "vision.stereo.calibration"
extern LogCategory* const stereoCategory;      ///< "vision.stereo"

} // namespace vision::detail

#endif
