// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/features/row_offsets.h>

#include "base/statistics.h"

#include <utility>
#include <vector>

namespace vision::toolkit {

RowOffsets summariseRows(const FeatureMatches& features, double atInfinity)
{
    constexpr double tolerance = 1; // px, that a point at infinity may be off
    std::vector<double> offsets;
    std::size_t behind = 0;
    for (const auto& [left, right] : features.matches) {
        offsets.push_back(right.y - left.y);
        behind += left.x - right.x < atInfinity - tolerance ? 1 : 0;
    }
    RowOffsets rows{};
    rows.features = features.features;
    rows.ambiguous = features.ambiguous;
    rows.matched = offsets.size();
    rows.behind = offsets.empty() ? 0 : static_cast<double>(behind) / static_cast<double>(offsets.size());
    const MedianAndSpread statistics = medianAndSpread(std::move(offsets));
    rows.median = statistics.median;
    rows.spread = statistics.spread;
    return rows;
}

} // namespace vision::toolkit
