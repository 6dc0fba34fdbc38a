// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_EVALUATION_ERRORS_H
#define VISION_TOOLKIT_SRC_EVALUATION_ERRORS_H

#include <opencv2/core/mat.hpp>

#include <cmath>

namespace vision::toolkit {

/// Checks the images as evaluate() says.
void requireComparable(const cv::Mat& disparity, const cv::Mat& truth, const cv::Mat& mask);

/// Calls `visit(row, column, value, truth)` for every pixel that has truth and counts.
template <typename Visit>
void forEachTruth(const cv::Mat& disparity, const cv::Mat& truth, const cv::Mat& mask, Visit visit)
{
    for (int row = 0; row < truth.rows; ++row) {
        const auto* found = disparity.ptr<float>(row);
        const auto* wanted = truth.ptr<float>(row);
        const auto* counts = mask.empty() ? nullptr : mask.ptr<unsigned char>(row);
        for (int column = 0; column < truth.cols; ++column) {
            if (std::isfinite(wanted[column]) && (counts == nullptr || counts[column] != 0)) {
                visit(cv::Point(column, row), found[column], wanted[column]);
            }
        }
    }
}

} // namespace vision::toolkit

#endif
