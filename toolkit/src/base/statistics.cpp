// SPDX-License-Identifier: Apache-2.0
#include "base/statistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
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

MedianAndSpread medianAndSpread(std::vector<double> values)
{
    constexpr double deviationsPerMedian = 1.4826;
    const double median = takeMedian(values);
    for (double& value : values) {
        value = std::abs(value - median);
    }
    return {median, deviationsPerMedian * takeMedian(values)};
}

} // namespace vision::toolkit
