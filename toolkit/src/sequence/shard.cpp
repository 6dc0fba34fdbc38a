// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/sequence/shard.h>

namespace vision::toolkit {

std::vector<std::size_t> selectShard(std::size_t items, const Shard& shard)
{
    std::vector<std::size_t> selected;
    for (std::size_t item = shard.number - 1; item < items; item += shard.count) {
        selected.push_back(item);
    }
    return selected;
}

} // namespace vision::toolkit
