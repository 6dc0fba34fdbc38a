// SPDX-License-Identifier: Apache-2.0
#include "evaluation/pfm.h"

#include "files/regular_file.h"
#include "input/image_limits.h"

#include <vision/toolkit/failure.h>

#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <locale>

namespace vision::toolkit {

namespace {

struct Header
{
    std::string kind; ///< "Pf" for grey, "PF" for colour
    std::int64_t width = 0;
    std::int64_t height = 0;
    double scale = 0; ///< negative for little endian
};

/// Leaves the stream at the first pixel.
Header readHeader(std::istream& stream, const std::string& file)
{
    constexpr std::int64_t largest = 1 << 20;
    Header header;
    stream.imbue(std::locale::classic());
    stream >> header.kind >> header.width >> header.height >> header.scale;
    if (stream.get() == '\r' && stream.peek() == '\n') {
        stream.get();
    }
    const auto isSize = [](std::int64_t size) { return 0 < size && size <= largest; };
    if (!stream || !isSize(header.width) || !isSize(header.height) || !std::isfinite(header.scale) ||
        header.scale == 0) {
        throw Failure(
            "pfm-header",
            file,
            "the header is not that of a PFM file (\"Pf\", width, height, scale); write or copy it again");
    }
    if (header.kind != "Pf") {
        throw Failure("disparity-colour", file, "has three channels; a disparity image has one");
    }
    return header;
}

float decode(const unsigned char* bytes, bool isLittleEndian)
{
    std::uint32_t bits = 0;
    for (int i = 0; i < 4; ++i) {
        bits = bits << 8 | bytes[isLittleEndian ? 3 - i : i];
    }
    float number = 0;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

} // namespace

bool isPfm(const std::string& file)
{
    const auto bytes = readBeginning(file, 2);
    return bytes.size() == 2 && bytes[0] == 'P' && (bytes[1] == 'f' || bytes[1] == 'F');
}

cv::Mat readPfm(const std::string& file, const ImageLimits& limits)
{
    const auto size = static_cast<std::int64_t>(requireRegular(file));
    std::ifstream stream(file, std::ios::binary);
    const Header header = readHeader(stream, file);
    const std::int64_t pixels = header.width * header.height;
    requireWithin(limits,
                  cv::Size(static_cast<int>(header.width), static_cast<int>(header.height)),
                  static_cast<double>(pixels),
                  file);
    const std::int64_t found = size - stream.tellg();
    if (found != 4 * pixels) {
        throw Failure(
            "pfm-size",
            file,
            fmt::format("has {} bytes of pixels where its header promises {}: it is damaged or cut off; "
                        "copy it again",
                        found,
                        4 * pixels));
    }
    cv::Mat image(static_cast<int>(header.height), static_cast<int>(header.width), CV_32FC1);
    std::string bytes(static_cast<std::size_t>(4 * header.width), '\0');
    for (int row = image.rows - 1; row >= 0; --row) {
        stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        const auto* from = reinterpret_cast<const unsigned char*>(bytes.data());
        auto* to = image.ptr<float>(row);
        for (int column = 0; column < image.cols; ++column, from += 4) {
            to[column] = decode(from, header.scale < 0);
        }
    }
    if (!stream) {
        throw Failure("cannot-read", file, "cannot be read to its end; copy it again");
    }
    return image;
}

} // namespace vision::toolkit
