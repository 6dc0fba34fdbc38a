// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_BASE_SAMPLING_H
#define VISION_TOOLKIT_SRC_BASE_SAMPLING_H

#include <cstddef>
#include <vector>

namespace vision::toolkit {

/// At most so many of the places from 0 to count - 1, spread evenly from the first to the last.
std::vector<std::size_t> sampleEvenly(std::size_t count, std::size_t most);

} // namespace vision::toolkit

#endif
