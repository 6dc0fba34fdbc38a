// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_IMPLEMENTATION_H
#define VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_IMPLEMENTATION_H

#include "matching/semi_global/stripe.h"

#include <vector>

namespace vision::toolkit::semi_global {

/// The matching for one kind of processor. All give the same bits.
struct Implementation
{
    const char* name;
    bool (*isSupported)();
    void (*smooth)(const Pair& pair, const Rows& rows, const Workspace& memory);
    void (*match)(const Pair& pair, const Rows& rows, const Workspace& memory);
};

/// Those that this processor can run, the fastest first.
const std::vector<const Implementation*>& findImplementations();

} // namespace vision::toolkit::semi_global

#endif
