#include <vision/toolkit/trust/row_offsets.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace vision::toolkit {

namespace {

double takeMedian(std::vector<double>& values)
{
    if (values.empty()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

RowOffsets summariseRows(const FeatureMatches& features, double atInfinity)
{
    constexpr double tolerance = 1; // px, that a point at infinity may be off
    constexpr double deviationsPerMedian = 1.4826;
    std::vector<double> offsets;
    std::size_t behind = 0;
    for (const auto& [left, right] : features.matches) {
        offsets.push_back(right.y - left.y);
        behind += left.x - right.x < atInfinity - tolerance ? 1 : 0;
    }
    RowOffsets rows{};
    rows.features = features.features;
    rows.matched = offsets.size();
    rows.behind = offsets.empty() ? 0 : static_cast<double>(behind) / static_cast<double>(offsets.size());
    rows.median = takeMedian(offsets);
    for (double& offset : offsets) {
        offset = std::abs(offset - rows.median);
    }
    rows.spread = deviationsPerMedian * takeMedian(offsets);
    return rows;
}

} // namespace vision::toolkit
