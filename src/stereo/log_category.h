#ifndef VISION_STEREO_LOG_CATEGORY_H
#define VISION_STEREO_LOG_CATEGORY_H

#include "log.h"

namespace vision::detail {

/// "vision.stereo"; null until static initialisation has registered it.
extern LogCategory* const stereoCategory;

} // namespace vision::detail

#endif
