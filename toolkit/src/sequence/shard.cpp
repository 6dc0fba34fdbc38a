// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/sequence/shard.h>

#include <vision/toolkit/failure.h>

namespace vision::toolkit {

std::vector<std::size_t> selectShard(std::size_t items, const Shard& shard)
{
    if (shard.number < 1 || shard.number > shard.count) {
        throw Failure("shard", {}, "the parts of a sequence are numbered from 1 to how many there are");
    }
    std::vector<std::size_t> selected;
    for (std::size_t item = shard.number - 1; item < items; item += shard.count) {
        selected.push_back(item);
    }
    return selected;
}

} // namespace vision::toolkit
