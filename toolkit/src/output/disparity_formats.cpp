// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/output/encodings.h>

#include "output/image_bytes.h"
#include "output/little_endian.h"
#include "output/png16.h"

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <limits>
#include <string>

namespace vision::toolkit {

namespace {

constexpr float noDisparity = std::numeric_limits<float>::infinity();

} // namespace

Bytes encodeDisparityPfm(const cv::Mat& disparity)
{
    CV_Assert(disparity.type() == CV_32FC1 && !disparity.empty());
    const std::string header = fmt::format("Pf\n{} {}\n-1\n", disparity.cols, disparity.rows);
    Bytes bytes(header.size() + disparity.total() * sizeof(float));
    std::uint8_t* to = std::copy(header.begin(), header.end(), bytes.data());
    for (int row = disparity.rows - 1; row >= 0; --row) {
        const auto* values = disparity.ptr<float>(row);
        for (int column = 0; column < disparity.cols; ++column) {
            to = putLittleEndian(values[column], to);
        }
    }
    return bytes;
}

Bytes encodeDisparityTiff(const cv::Mat& disparity)
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
