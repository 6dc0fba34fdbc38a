// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/evaluation/evaluation.h>

#include "base/statistics.h"
#include "evaluation/errors.h"

#include <fmt/format.h>

#include <cmath>
#include <vector>

namespace vision::toolkit {

Notes judgeUnits(const cv::Mat& disparity, const cv::Mat& truth, const cv::Mat& mask)
{
    requireComparable(disparity, truth, mask);
    std::vector<double> ratios; // logarithms: a factor is then an offset, and a spread is a share
    std::vector<double> products;
    forEachTruth(disparity, truth, mask, [&](const cv::Point&, float found, float wanted) {
        if (std::isfinite(found) && found > 0 && wanted > 0) {
            const double value = std::log(double{found});
            const double expected = std::log(double{wanted});
            ratios.push_back(value - expected);
            products.push_back(value + expected);
        }
    });
    constexpr std::size_t enough = 100;  // values
    constexpr double constant = 0.1;     // a tenth of the values
    constexpr double otherUnit = 0.4054; // log 1.5: wrong matches hardly shift the median so far
    const MedianAndSpread ratio = medianAndSpread(ratios);
    if (ratios.size() < enough) {
        return {};
    }
    if (ratio.spread < constant) {
        if (std::abs(ratio.median) < otherUnit) {
            return {};
        }
        return {{"units-differ",
                 fmt::format(
                     "the values are about {:.4g} times the truth everywhere: is one of them in other units, "
                     "or of another image size?",
                     std::exp(ratio.median))}};
    }
    if (medianAndSpread(products).spread < constant) {
        return {{"is-depth",
                 "the values fall where the truth rises, as depth does when disparity rises: compare "
                 "disparity with "
                 "disparity"}};
    }
    return {};
}

} // namespace vision::toolkit
