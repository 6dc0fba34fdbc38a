#include <vision/toolkit/output/ply.h>

#include "output/little_endian.h"

#include <vision/toolkit/depth/summary.h>

namespace vision::toolkit {

namespace {

void appendColour(std::string& bytes, const cv::Mat& view, int row, int column)
{
    if (view.channels() == 1) {
        bytes.append(3, static_cast<char>(view.at<unsigned char>(row, column)));
        return;
    }
    const auto& pixel = view.at<cv::Vec3b>(row, column);
    for (const int channel : {2, 1, 0}) {
        bytes += static_cast<char>(pixel[channel]);
    }
}

} // namespace

std::string encodePly(const cv::Mat& points, const cv::Mat& view)
{
    std::string vertices;
    std::size_t count = 0;
    for (int row = 0; row < points.rows; ++row) {
        for (int column = 0; column < points.cols; ++column) {
            const auto& point = points.at<cv::Vec3f>(row, column);
            if (!isTrusted(point)) {
                continue;
            }
            for (const float coordinate : point.val) {
                appendLittleEndian(vertices, coordinate);
            }
            appendColour(vertices, view, row, column);
            ++count;
        }
    }
    return "ply\n"
           "format binary_little_endian 1.0\n"
           "comment axes: x to the right, y down, z forward\n"
           "comment origin: optical centre of the rectified left camera\n"
           "comment unit: metre\n"
           "element vertex " +
           std::to_string(count) +
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
