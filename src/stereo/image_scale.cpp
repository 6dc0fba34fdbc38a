// SPDX-License-Identifier: Apache-2.0
#include "stereo/image_scale.h"

#include "log_categories.h"

#include <stdexcept>

namespace vision::detail {

int requireImageScale(const cv::Mat& image, int calibrationWidth, const char* caller)
{
    const auto require = [caller](bool holds, const char* text) {
        if (!holds) {
            refuse<std::invalid_argument>(stereoCategory, caller, text);
        }
    };
    require(image.dims <= 2, "Images must have two dimensions.");
    require(!image.empty(), "Images must not be empty.");
    require(calibrationWidth > 0, "Calibrations must be set before images are processed.");
    require(image.cols <= calibrationWidth, "Images must not be wider than the calibration.");
    return calibrationWidth / image.cols;
}

} // namespace vision::detail
