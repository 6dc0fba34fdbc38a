// SPDX-License-Identifier: Apache-2.0
/// Robust statistics.
#ifndef VISION_TOOLKIT_SRC_BASE_STATISTICS_H
#define VISION_TOOLKIT_SRC_BASE_STATISTICS_H

#include <vector>

namespace vision::toolkit {

struct MedianAndSpread
{
    double median; ///< NaN without values
    double
        spread; ///< 1.48 times the median distance from the median: the standard deviation if it were normal
};

/// The value below which that share of the values lies, from 0 (the smallest) to 1 (the largest); NaN
/// without values.
double quantile(std::vector<double> values, double share);

/// The upper one of two middle values; NaN without values.
double median(std::vector<double> values);

/// The root of the mean square; NaN without values.
double rms(const std::vector<double>& values);

MedianAndSpread medianAndSpread(std::vector<double> values);

} // namespace vision::toolkit

#endif
