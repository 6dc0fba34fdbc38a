// SPDX-License-Identifier: Apache-2.0
#include "records/rotation.h"

#include <opencv2/core.hpp>

namespace vision::toolkit {

bool isReal(const cv::Mat& matrix)
{
    return matrix.dims == 2 && matrix.channels() == 1 &&
           (matrix.depth() == CV_32F || matrix.depth() == CV_64F) && cv::checkRange(matrix);
}

bool isRotation(const cv::Mat& matrix)
{
    constexpr double tolerance = 1e-3;
    if (!isReal(matrix) || matrix.rows != 3 || matrix.cols != 3) {
        return false;
    }
    cv::Mat r;
    matrix.convertTo(r, CV_64F);
    return cv::norm(r * r.t(), cv::Mat::eye(3, 3, CV_64F), cv::NORM_INF) < tolerance &&
           cv::determinant(r) > 0;
}

} // namespace vision::toolkit
