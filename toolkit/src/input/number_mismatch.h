// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_INPUT_NUMBER_MISMATCH_H
#define VISION_TOOLKIT_SRC_INPUT_NUMBER_MISMATCH_H

#include <vision/toolkit/input/images.h>

#include <vector>

namespace vision::toolkit {

/// Notes "numbers-disagree" when the last numbers in the names of a pair differ although another image has
/// the right one: one camera lost an image. Cameras that count on their own have no number in common.
Notes findNumberMismatch(const std::vector<PairNames>& pairs);

} // namespace vision::toolkit

#endif
