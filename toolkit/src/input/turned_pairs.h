// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_INPUT_TURNED_PAIRS_H
#define VISION_TOOLKIT_SRC_INPUT_TURNED_PAIRS_H

#include <vision/toolkit/input/pair_sequence.h>

namespace vision::toolkit {

/// The same pairs with the images of each camera turned clockwise by 0, 90, 180 or 270 degrees.
/// @throws Failure "rotation" for other angles
std::unique_ptr<PairSequence> turn(std::unique_ptr<PairSequence> pairs, int left, int right);

} // namespace vision::toolkit

#endif
