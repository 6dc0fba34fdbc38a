// SPDX-License-Identifier: Apache-2.0
#include "matching/semi_global/neon/bytes.h"

#include "matching/semi_global/generic/implementation.h"

namespace vision::toolkit::semi_global {

extern const Implementation neon;
const Implementation neon{"neon", [] { return true; }, smooth, match};

} // namespace vision::toolkit::semi_global
