// SPDX-License-Identifier: Apache-2.0
#include "matching/semi_global/sse41/bytes.h"

#include "matching/semi_global/generic/implementation.h"

namespace vision::toolkit::semi_global {

extern const Implementation sse41;
const Implementation sse41{"sse41", [] { return __builtin_cpu_supports("sse4.1") != 0; }, smooth, match};

} // namespace vision::toolkit::semi_global
