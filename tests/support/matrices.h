#ifndef SUPPORT_MATRICES_H
#define SUPPORT_MATRICES_H

#include <opencv2/core.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace support {

/// Whether size, type and every bit agree. All NaNs count as one value: nobody defines their payload.
inline ::testing::AssertionResult isBitEqual(const cv::Mat& actual, const cv::Mat& expected)
{
    if (actual.size != expected.size || actual.type() != expected.type()) {
        return ::testing::AssertionFailure()
               << actual.size() << " of type " << actual.type() << " instead of " << expected.size()
               << " of type " << expected.type();
    }
    const auto flatten = [](const cv::Mat& matrix) {
        cv::Mat flat = matrix.empty() ? matrix : matrix.clone().reshape(1, 1);
        if (!flat.empty() && flat.depth() >= CV_32F) {
            flat.setTo(std::numeric_limits<double>::quiet_NaN(), flat != flat);
        }
        return flat;
    };
    const cv::Mat a = flatten(actual);
    const cv::Mat b = flatten(expected);
    for (int i = 0; i < a.cols; ++i) {
        if (std::memcmp(a.ptr(0, i), b.ptr(0, i), a.elemSize()) != 0) {
            return ::testing::AssertionFailure()
                   << "element " << i << " is " << a.col(i) << " instead of " << b.col(i);
        }
    }
    return ::testing::AssertionSuccess();
}

} // namespace support

#endif
