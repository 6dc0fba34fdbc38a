// SPDX-License-Identifier: Apache-2.0
#include "base/sampling.h"

#include <algorithm>

namespace vision::toolkit {

std::vector<std::size_t> sampleEvenly(std::size_t count, std::size_t most)
{
    const std::size_t samples = std::min(count, most);
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < samples; ++i) {
        places.push_back(samples == 1 ? 0 : i * (count - 1) / (samples - 1));
    }
    return places;
}

} // namespace vision::toolkit
