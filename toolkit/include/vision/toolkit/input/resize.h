// SPDX-License-Identifier: Apache-2.0
/// @file
/// Smaller images.
#ifndef VISION_TOOLKIT_INPUT_RESIZE_H
#define VISION_TOOLKIT_INPUT_RESIZE_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/input/image_pair.h>

namespace vision::toolkit {

/// Scales both images, averaging when they shrink.
/// @throws Failure when the factor does not give whole pixels
VISION_TOOLKIT_EXPORT RawPair resize(const RawPair& pair, double factor);

} // namespace vision::toolkit

#endif
