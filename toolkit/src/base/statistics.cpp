// SPDX-License-Identifier: Apache-2.0
#include "base/statistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

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

double quantile(std::vector<double> values, double share)
{
    if (values.empty()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const auto place =
        std::min(static_cast<std::size_t>(share * static_cast<double>(values.size())), values.size() - 1);
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(place);
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

double median(std::vector<double> values)
{
    return takeMedian(values);
}

double rms(const std::vector<double>& values)
{
    const double squares = std::inner_product(values.begin(), values.end(), values.begin(), 0.0);
    return std::sqrt(squares / static_cast<double>(values.size()));
}

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
