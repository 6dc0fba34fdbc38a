// SPDX-License-Identifier: Apache-2.0
/// @file
/// Many items, several workers, one order.
#ifndef VISION_TOOLKIT_SRC_PARALLEL_RUN_H
#define VISION_TOOLKIT_SRC_PARALLEL_RUN_H

#include <cstddef>
#include <functional>
#include <vector>

namespace vision::toolkit {

/// Tells what an item gave; runs alone and in the order of the items.
using Deliver = std::function<void()>;

/// Computes an item; runs beside the work of other items.
using Work = std::function<Deliver()>;

/// Processes items by several workers, so that what is told of them does not depend on how many there are.
///
/// Items are begun and delivered in their order; a worker that is far ahead of the slowest one waits, which
/// bounds the memory whatever the number of items. Where not so many threads can be started, those that can
/// do the work. OpenCV's own threads come from the same pool, so that there are never more than cores.
/// @param take begins an item; calls come one at a time, in the order of the items
/// @param workers how many threads work, the calling one among them; 0 is taken for 1
/// @throws what a call throws, once all workers have stopped; no further item is begun then
void runInOrder(const std::vector<std::size_t>& items, unsigned workers,
                const std::function<Work(std::size_t item)>& take);

} // namespace vision::toolkit

#endif
