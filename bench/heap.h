// SPDX-License-Identifier: Apache-2.0
/// Counts what the whole process takes from the heap, OpenCV's matrices included.
#ifndef BENCH_HEAP_H
#define BENCH_HEAP_H

#include <cstdint>

namespace heap {

struct Usage
{
    std::int64_t allocations; ///< blocks since startCounting()
    std::int64_t peakBytes;   ///< most bytes held at one time since then, beyond those held at the start
};

void startCounting();
Usage stopCounting();

} // namespace heap

#endif
