// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/output/encodings.h>

#include "output/image_bytes.h"
#include "output/png16.h"

#include <vision/toolkit/depth/depth_pipeline.h>

#include <opencv2/core.hpp>

namespace vision::toolkit {

cv::Mat extractDepth(const cv::Mat& points)
{
    CV_Assert(points.type() == CV_32FC3);
    cv::Mat depth(points.size(), CV_32FC1);
    for (int row = 0; row < points.rows; ++row) {
        const auto* from = points.ptr<cv::Vec3f>(row);
        auto* to = depth.ptr<float>(row);
        for (int column = 0; column < points.cols; ++column) {
            to[column] = isTrusted(from[column]) ? from[column][2] : 0;
        }
    }
    return depth;
}

Bytes encodeDepthTiff(const cv::Mat& depth)
{
    CV_Assert(depth.type() == CV_32FC1);
    return encodeImage(".tiff", depth);
}

EncodedImage encodeDepthPng16(const cv::Mat& depth)
{
    constexpr float millimetres = 1000;
    constexpr float noDepth = 0;
    return encodePng16(depth, millimetres, noDepth);
}

} // namespace vision::toolkit
