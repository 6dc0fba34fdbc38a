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

MedianAndSpread medianAndSpread(std::vector<double> values);

} // namespace vision::toolkit

#endif
