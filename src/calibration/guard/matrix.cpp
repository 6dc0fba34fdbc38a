#include "calibration/guard/guard.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <vector>

namespace vision::detail {

namespace {

/// Each takes at least a byte of the document, which is no larger.
constexpr std::int64_t maxElements = 1 << 20;

/// The number of channels that an element type such as "3f" gives, or -1 when OpenCV cannot count them.
std::int64_t countChannels(const std::string& type)
{
    constexpr std::int64_t limit = std::numeric_limits<int>::max();
    std::int64_t channels = 0;
    std::int64_t count = 0;
    for (const char symbol : type) {
        if ('0' <= symbol && symbol <= '9') {
            count = count * 10 + (symbol - '0');
        } else {
            channels += std::max<std::int64_t>(count, 1);
            count = 0;
        }
        if (count > limit || channels > limit) {
            return -1;
        }
    }
    return channels;
}

/// The sizes that cv::read would give the matrix; empty when it refuses them.
std::vector<int> readSizes(const cv::FileNode& node)
{
    int rows = -1;
    cv::read(node["rows"], rows, -1);
    if (rows >= 0) {
        int cols = -1;
        cv::read(node["cols"], cols, -1);
        return {rows, cols};
    }
    const cv::FileNode list = node["sizes"];
    // OpenCV copies the whole list into an array of 32.
    if (list.size() > 32) {
        throw std::invalid_argument("it has more than 32 dimensions");
    }
    std::vector<int> sizes;
    for (const auto size : list) {
        if (!size.isInt() && !size.isReal()) {
            return {};
        }
        sizes.push_back(static_cast<int>(size));
    }
    return sizes;
}

void inspectMatrix(const cv::FileNode& node)
{
    std::string type;
    cv::read(node["dt"], type, std::string());
    const std::int64_t channels = countChannels(type);
    // OpenCV decodes into an array of 64 pairs of count and symbol, and adds the counts up in an int.
    if (type.size() >= 64 || channels < 0) {
        throw std::invalid_argument(
            "its dt is no element type; write one of u c w s i f d h, with the number of "
            "channels before it");
    }
    const std::vector<int> sizes = readSizes(node);
    if (sizes.size() == 2 && sizes[0] == 0) {
        return; // empty, however wide
    }
    // OpenCV allocates before it counts the data, with products that wrap around. An empty matrix of many rows
    // would still be printed row by row.
    std::int64_t elements = channels;
    for (const int size : sizes) {
        elements *= std::max(size, 1);
        if (elements > maxElements) {
            throw std::invalid_argument("it is larger than its file can hold");
        }
    }
}

} // namespace

void requireSafeMatrix(const char* key, const cv::FileNode& node)
{
    if (!node.isMap()) {
        return; // missing, or refused by OpenCV
    }
    try {
        inspectMatrix(node);
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument(std::string("Refused matrix: \"") + key + "\": " + error.what() + ".");
    }
}

} // namespace vision::detail
