// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_WORKSPACE_H
#define VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_WORKSPACE_H

#include "matching/semi_global/stripe.h"

#include <vector>

namespace vision::toolkit::semi_global {

/// The memory of one thread, kept from pair to pair.
class WorkspaceMemory
{
public:
    /// @param rows of the highest stripe
    Workspace prepare(const Pair& pair, int rows);

private:
    std::vector<std::uint8_t> _bytes;
};

} // namespace vision::toolkit::semi_global

#endif
