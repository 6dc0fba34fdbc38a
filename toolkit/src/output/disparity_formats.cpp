// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/output/encodings.h>

#include "output/image_bytes.h"
#include "output/little_endian.h"
#include "output/png16.h"

#include <opencv2/core.hpp>

#include <limits>

namespace vision::toolkit {

namespace {

constexpr float noDisparity = std::numeric_limits<float>::infinity();

} // namespace

std::string encodeDisparityPfm(const cv::Mat& disparity)
{
    CV_Assert(disparity.type() == CV_32FC1 && !disparity.empty());
    std::string bytes =
        "Pf\n" + std::to_string(disparity.cols) + " " + std::to_string(disparity.rows) + "\n-1\n";
    const std::size_t header = bytes.size();
    bytes.resize(header + disparity.total() * sizeof(float));
    char* to = &bytes[header];
    for (int row = disparity.rows - 1; row >= 0; --row) {
        const auto* values = disparity.ptr<float>(row);
        for (int column = 0; column < disparity.cols; ++column) {
            to = putLittleEndian(values[column], to);
        }
    }
    return bytes;
}

std::string encodeDisparityTiff(const cv::Mat& disparity)
{
    CV_Assert(disparity.type() == CV_32FC1);
    return encodeImage(".tiff", disparity);
}

EncodedImage encodeDisparityPng16(const cv::Mat& disparity)
{
    constexpr float perPixel = 256;
    return encodePng16(disparity, perPixel, noDisparity);
}

} // namespace vision::toolkit
