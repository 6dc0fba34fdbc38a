#ifndef VISION_CALIBRATION_LOG_CATEGORY_H
#define VISION_CALIBRATION_LOG_CATEGORY_H

#include "log.h"

namespace vision::detail {

/// "vision.stereo.calibration"; null until static initialisation has registered it.
extern LogCategory* const calibrationCategory;

} // namespace vision::detail

#endif
