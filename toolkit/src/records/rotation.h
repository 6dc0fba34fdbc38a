// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_RECORDS_ROTATION_H
#define VISION_TOOLKIT_SRC_RECORDS_ROTATION_H

#include <opencv2/core/mat.hpp>

namespace vision::toolkit {

/// Whether a matrix is two-dimensional with one channel of finite floats of either precision.
bool isReal(const cv::Mat& matrix);

/// Whether a matrix is 3 x 3, real, orthonormal and no mirror image; to three digits, as files hold some.
bool isRotation(const cv::Mat& matrix);

} // namespace vision::toolkit

#endif
