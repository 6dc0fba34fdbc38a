// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SEQUENCE_SHARD_H
#define VISION_TOOLKIT_SEQUENCE_SHARD_H

#include <vision/toolkit/export.h>

#include <cstddef>
#include <vector>

namespace vision::toolkit {

/// One of several machines' part of the work.
struct Shard
{
    std::size_t number = 1; ///< from 1
    std::size_t count = 1;
};

/// The items of a shard: every count-th one, so that all shards see all parts of a sequence.
/// @throws Failure unless the number is from 1 to the count
VISION_TOOLKIT_EXPORT std::vector<std::size_t> selectShard(std::size_t items, const Shard& shard);

} // namespace vision::toolkit

#endif
