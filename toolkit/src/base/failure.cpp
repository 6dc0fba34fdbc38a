// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/failure.h>

#include <opencv2/core.hpp>

#include <new>

namespace vision::toolkit {

std::string describe(const std::exception& error)
{
    if (const auto* fromOpenCv = dynamic_cast<const cv::Exception*>(&error)) {
        return "OpenCV: " + fromOpenCv->err + " (in " + fromOpenCv->func + ")";
    }
    if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) {
        return "not enough memory";
    }
    return error.what();
}

} // namespace vision::toolkit
