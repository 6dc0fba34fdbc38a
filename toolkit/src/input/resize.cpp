// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/input/images.h>

#include "base/text.h"

#include <vision/toolkit/failure.h>

#include <fmt/format.h>
#include <opencv2/imgproc.hpp>

#include <cmath>

namespace vision::toolkit {

RawPair resize(const RawPair& pair, double factor)
{
    if (factor == 1) {
        return pair;
    }
    const cv::Size size = pair.left.size();
    const cv::Point2d exact(size.width * factor, size.height * factor);
    const cv::Size scaled(cvRound(exact.x), cvRound(exact.y));
    constexpr double roundingError = 1e-6;
    if (scaled.empty() || std::abs(exact.x - scaled.width) > roundingError ||
        std::abs(exact.y - scaled.height) > roundingError) {
        throw Failure(
            "resize-not-whole",
            "",
            fmt::format("{} scaled by {:.3f} gives no whole number of pixels: choose another factor",
                        formatSize(size),
                        factor));
    }
    RawPair result;
    result.bits = pair.bits;
    cv::resize(pair.left, result.left, scaled, 0, 0, cv::INTER_AREA);
    cv::resize(pair.right, result.right, scaled, 0, 0, cv::INTER_AREA);
    return result;
}

} // namespace vision::toolkit
