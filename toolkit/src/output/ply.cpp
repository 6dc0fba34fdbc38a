// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/output/encodings.h>

#include "output/little_endian.h"

#include <vision/toolkit/depth/depth_pipeline.h>

#include <opencv2/core.hpp>

namespace vision::toolkit {

namespace {

constexpr std::size_t vertexSize = 3 * sizeof(float) + 3;

/// @param pixel of a grey or BGR image
char* putColour(const unsigned char* pixel, int channels, char* to)
{
    for (const int channel : {2, 1, 0}) {
        *to++ = static_cast<char>(pixel[channels == 1 ? 0 : channel]);
    }
    return to;
}

std::string encodeVertices(const cv::Mat& points, const cv::Mat& view)
{
    std::string vertices(points.total() * vertexSize, '\0');
    const int channels = view.channels();
    char* to = vertices.data();
    for (int row = 0; row < points.rows; ++row) {
        const auto* point = points.ptr<cv::Vec3f>(row);
        const auto* pixel = view.ptr<unsigned char>(row);
        for (int column = 0; column < points.cols; ++column, ++point, pixel += channels) {
            if (isTrusted(*point)) {
                for (const float coordinate : point->val) {
                    to = putLittleEndian(coordinate, to);
                }
                to = putColour(pixel, channels, to);
            }
        }
    }
    vertices.resize(static_cast<std::size_t>(to - vertices.data()));
    return vertices;
}

} // namespace

std::string encodePly(const cv::Mat& points, const cv::Mat& view)
{
    CV_Assert(points.type() == CV_32FC3 && points.size() == view.size());
    CV_Assert(view.type() == CV_8UC1 || view.type() == CV_8UC3);
    const std::string vertices = encodeVertices(points, view);
    return "ply\n"
           "format binary_little_endian 1.0\n"
           "comment axes: x to the right, y down, z forward\n"
           "comment origin: optical centre of the rectified left camera\n"
           "comment unit: metre\n"
           "element vertex " +
           std::to_string(vertices.size() / vertexSize) +
           "\n"
           "property float x\n"
           "property float y\n"
           "property float z\n"
           "property uchar red\n"
           "property uchar green\n"
           "property uchar blue\n"
           "end_header\n" +
           vertices;
}

} // namespace vision::toolkit
