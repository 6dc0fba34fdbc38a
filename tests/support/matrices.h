#ifndef SUPPORT_MATRICES_H
#define SUPPORT_MATRICES_H

#include <opencv2/core.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace support {

/// Whether size, type and every bit agree. All NaNs count as one value: nobody defines their payload.
inline ::testing::AssertionResult areBitEqual(const cv::Mat& a, const cv::Mat& b)
{
    if (a.size != b.size || a.type() != b.type()) {
        return ::testing::AssertionFailure()
               << a.size << " type " << a.type() << " against " << b.size << " type " << b.type();
    }
    const auto flatten = [](const cv::Mat& matrix) {
        cv::Mat flat = matrix.clone().reshape(1, 1);
        if (flat.depth() >= CV_32F) {
            flat.setTo(std::numeric_limits<double>::quiet_NaN(), flat != flat);
        }
        return flat;
    };
    const cv::Mat first = a.empty() ? a : flatten(a);
    const cv::Mat second = b.empty() ? b : flatten(b);
    for (int i = 0; i < first.cols; ++i) {
        if (std::memcmp(first.ptr(0, i), second.ptr(0, i), first.elemSize()) != 0) {
            return ::testing::AssertionFailure()
                   << "value " << i << ": " << first.col(i) << " against " << second.col(i);
        }
    }
    return ::testing::AssertionSuccess();
}

} // namespace support

#endif
