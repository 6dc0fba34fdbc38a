// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_JUDGEMENT_H
#define VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_JUDGEMENT_H

#include "matching/semi_global/stripe.h"

namespace vision::toolkit::semi_global {

/// Writes the matches of a row that hold.
void judgeRow(const Pair& pair, const Choices& choices, int y);

} // namespace vision::toolkit::semi_global

#endif
