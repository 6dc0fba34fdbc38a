// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/output/encodings.h>

#include "output/little_endian.h"

#include <vision/toolkit/depth/depth_pipeline.h>

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <string>

namespace vision::toolkit {

namespace {

constexpr std::size_t vertexSize = 3 * sizeof(float) + 3;

/// @param pixel of a grey or BGR image
std::uint8_t* putColour(const std::uint8_t* pixel, int channels, std::uint8_t* to)
{
    for (const int channel : {2, 1, 0}) {
        *to++ = pixel[channels == 1 ? 0 : channel];
    }
    return to;
}

std::size_t countTrusted(const cv::Mat& points)
{
    return static_cast<std::size_t>(std::count_if(points.begin<cv::Vec3f>(),
                                                  points.end<cv::Vec3f>(),
                                                  [](const cv::Vec3f& point) { return isTrusted(point); }));
}

std::string makeHeader(std::size_t vertices)
{
    return fmt::format("ply\n"
                       "format binary_little_endian 1.0\n"
                       "comment axes: x to the right, y down, z forward\n"
                       "comment origin: optical centre of the rectified left camera\n"
                       "comment unit: metre\n"
                       "element vertex {}\n"
                       "property float x\n"
                       "property float y\n"
                       "property float z\n"
                       "property uchar red\n"
                       "property uchar green\n"
                       "property uchar blue\n"
                       "end_header\n",
                       vertices);
}

} // namespace

Bytes encodePly(const cv::Mat& points, const cv::Mat& view)
{
    CV_Assert(points.type() == CV_32FC3 && points.size() == view.size());
    CV_Assert(view.type() == CV_8UC1 || view.type() == CV_8UC3);
    const std::size_t vertices = countTrusted(points);
    const std::string header = makeHeader(vertices);
    Bytes bytes(header.size() + vertices * vertexSize);
    std::uint8_t* to = std::copy(header.begin(), header.end(), bytes.data());
    const int channels = view.channels();
    for (int row = 0; row < points.rows; ++row) {
        const auto* point = points.ptr<cv::Vec3f>(row);
        const auto* pixel = view.ptr<std::uint8_t>(row);
        for (int column = 0; column < points.cols; ++column, ++point, pixel += channels) {
            if (isTrusted(*point)) {
                for (const float coordinate : point->val) {
                    to = putLittleEndian(coordinate, to);
                }
                to = putColour(pixel, channels, to);
            }
        }
    }
    return bytes;
}

} // namespace vision::toolkit
