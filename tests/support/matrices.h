// SPDX-License-Identifier: Apache-2.0
#ifndef SUPPORT_MATRICES_H
#define SUPPORT_MATRICES_H

#include <opencv2/core.hpp>

#include <cmath>

namespace support {

/// Whether size, type and every bit agree. All NaNs count as one value: nobody defines their payload.
inline bool areBitEqual(const cv::Mat& a, const cv::Mat& b)
{
    const auto bytes = [](const cv::Mat& matrix) {
        cv::Mat copy = matrix.clone().reshape(1);
        if (copy.depth() >= CV_32F) {
            copy.setTo(NAN, ~(copy == copy)); // with AVX, OpenCV 4.6 finds no NaN unequal to itself
        }
        return cv::Mat(1, static_cast<int>(copy.total() * copy.elemSize()), CV_8U, copy.data).clone();
    };
    return a.size == b.size && a.type() == b.type() && cv::norm(bytes(a), bytes(b), cv::NORM_INF) == 0;
}

} // namespace support

#endif
