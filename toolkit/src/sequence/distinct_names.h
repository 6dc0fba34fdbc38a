// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_SEQUENCE_DISTINCT_NAMES_H
#define VISION_TOOLKIT_SRC_SEQUENCE_DISTINCT_NAMES_H

#include <vision/toolkit/input/pair_sequence.h>

namespace vision::toolkit {

/// @throws Failure naming the images of two pairs that would write the same files
void requireDistinctNames(const PairSequence& pairs);

} // namespace vision::toolkit

#endif
