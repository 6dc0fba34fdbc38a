// SPDX-License-Identifier: Apache-2.0
#include "matching/semi_global/implementation.h"

namespace vision::toolkit::semi_global {

extern const Implementation definition;
#if defined(__x86_64__) || defined(__i386__)
extern const Implementation avx2;
extern const Implementation sse41;
#elif defined(__aarch64__)
extern const Implementation neon;
#endif

const std::vector<const Implementation*>& findImplementations()
{
    static const std::vector<const Implementation*> supported = [] {
        std::vector<const Implementation*> found;
        for (const Implementation* implementation : {
#if defined(__x86_64__) || defined(__i386__)
                 &avx2, &sse41,
#elif defined(__aarch64__)
                 &neon,
#endif
                     &definition,
             }) {
            if (implementation->isSupported()) {
                found.push_back(implementation);
            }
        }
        return found;
    }();
    return supported;
}

} // namespace vision::toolkit::semi_global
