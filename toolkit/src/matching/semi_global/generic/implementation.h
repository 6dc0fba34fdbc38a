// SPDX-License-Identifier: Apache-2.0
// Included by each implementation after its own bytes.h.
#include "matching/semi_global/implementation.h"
#include "matching/semi_global/judgement.h"

#include <cstring>

namespace vision::toolkit::semi_global {
namespace {

// Not those of the standard library: the linker could take one compiled here for the rest of the program.

inline int smallest(int a, int b)
{
    return a < b ? a : b;
}

inline int largest(int a, int b)
{
    return a < b ? b : a;
}

inline int clamp(int value, int low, int high)
{
    return largest(low, smallest(value, high));
}

} // namespace
} // namespace vision::toolkit::semi_global

#include "matching/semi_global/generic/features.h"

#include "matching/semi_global/generic/costs.h"
#include "matching/semi_global/generic/paths.h"

#include "matching/semi_global/generic/choice.h"

#include "matching/semi_global/generic/flatness.h"

#include "matching/semi_global/generic/sweep.h"

namespace vision::toolkit::semi_global {
namespace {

void smooth(const Pair& pair, const Rows& rows, const Workspace& memory)
{
    smoothRows(pair.left, pair.width, pair.height, false, rows, memory, pair.smoothLeft);
    smoothRows(pair.right, pair.width, pair.height, true, rows, memory, pair.smoothRight);
}

void match(const Pair& pair, const Rows& rows, const Workspace& memory)
{
    Sweep(pair, rows, memory).run();
    dropFlat(pair, rows, memory);
}

} // namespace
} // namespace vision::toolkit::semi_global
