#include "io/pfm.h"

#include "io/little_endian.h"

namespace tool {

std::string encodePfm(const cv::Mat& image)
{
    // The sign of the scale says little endian.
    std::string bytes = "Pf\n" + std::to_string(image.cols) + " " + std::to_string(image.rows) + "\n-1.0\n";
    bytes.reserve(bytes.size() + image.total() * sizeof(float));
    for (int row = image.rows - 1; row >= 0; --row) {
        const float* pixels = image.ptr<float>(row);
        for (int column = 0; column < image.cols; ++column) {
            appendLittleEndian(bytes, pixels[column]);
        }
    }
    return bytes;
}

} // namespace tool
