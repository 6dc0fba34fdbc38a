// SPDX-License-Identifier: Apache-2.0
#include "matching/semi_global/avx2/bytes.h"

#include "matching/semi_global/generic/implementation.h"

namespace vision::toolkit::semi_global {

extern const Implementation avx2;
const Implementation avx2{"avx2", [] { return __builtin_cpu_supports("avx2") != 0; }, smooth, match};

} // namespace vision::toolkit::semi_global
