// SPDX-License-Identifier: Apache-2.0
#include "log_categories.h"

#include <vision/calibration.h>

#include <opencv2/core.hpp>

#include <cstdint>
#include <stdexcept>

namespace vision {

namespace {

/// Checks what OpenCV's access to elements does not: reading past a smaller matrix would give garbage.
void requireFloats(const cv::Mat& matrix, const char* name, int minColumns)
{
    if (matrix.type() != CV_32FC1 || matrix.rows < 2 || matrix.cols < minColumns) {
        CV_Error(cv::Error::StsBadArg,
                 detail::joinText(name,
                                  " must be CV_32FC1 of at least 2x",
                                  minColumns,
                                  ": load a calibration or fill this one before it is scaled."));
    }
}

/// Scales the entries in px of a camera or projection matrix: focal lengths, principal point and, in the
/// fourth column of a projection matrix, the translation.
void scalePixelEntries(cv::Mat& matrix, float factor, int translationColumns)
{
    for (int axis = 0; axis < 2; ++axis) {
        matrix.at<float>(axis, axis) *= factor;
        for (int column = 2; column < 3 + translationColumns; ++column) {
            matrix.at<float>(axis, column) *= factor;
        }
    }
}

} // namespace

Calibration Calibration::scaleTo(int newWidth, int newHeight) const
{
    const auto product = [](int a, int b) { return std::int64_t{a} * b; };
    if (product(height, newWidth) != product(width, newHeight)) {
        detail::refuse<std::invalid_argument>(
            detail::calibrationCategory, "scaleTo", "Invalid aspect ratio for new calibration");
    }
    requireFloats(cameraMatrix, "cameraMatrix", 3);
    requireFloats(projectionMatrix, "projectionMatrix", 4);

    // The aspect ratio is exactly the same, so one factor holds for both axes.
    const float factor = static_cast<float>(newWidth) / static_cast<float>(width);
    Calibration scaled(*this);
    scaled.width = newWidth;
    scaled.height = newHeight;
    scalePixelEntries(scaled.cameraMatrix, factor, 0);
    scalePixelEntries(scaled.projectionMatrix, factor, 1);
    return scaled;
}

} // namespace vision
