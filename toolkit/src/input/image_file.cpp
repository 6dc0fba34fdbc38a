// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/input/images.h>

#include "base/text.h"
#include "files/regular_file.h"
#include "input/image_header.h"
#include "input/image_limits.h"
#include "input/jpeg.h"

#include <vision/toolkit/failure.h>

#include <fmt/format.h>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <string_view>
#include <vector>

namespace vision::toolkit {

namespace {

using Bytes = std::vector<unsigned char>;

ImageHeader requireHeader(const std::string& file, const Bytes& bytes)
{
    if (bytes.empty()) {
        throw Failure("image-empty", file, "is empty; copy the image again");
    }
    const auto header = readImageHeader(bytes);
    if (!header) {
        throw Failure(
            "image-format",
            file,
            "is damaged or not an image of a known format (PNG, JPEG, TIFF, BMP, PNM, WebP, JPEG 2000, "
            "Sun raster); convert it to PNG");
    }
    return *header;
}

bool isJpeg(const Bytes& bytes)
{
    return bytes[0] == 0xFF && bytes[1] == 0xD8;
}

/// OpenCV fills what a cut-off PNG lacks with black and says nothing.
bool isCutOff(const Bytes& bytes)
{
    constexpr std::string_view endOfPng = "IEND";
    return bytes[1] == 'P' && bytes[2] == 'N' &&
           std::search(bytes.begin(), bytes.end(), endOfPng.begin(), endOfPng.end()) == bytes.end();
}

cv::Mat decode(const Bytes& bytes)
{
    if (isJpeg(bytes)) {
        return decodeJpeg(bytes);
    }
    return isCutOff(bytes) ? cv::Mat() : cv::imdecode(bytes, cv::IMREAD_UNCHANGED);
}

} // namespace

void requireWithin(const ImageLimits& limits, const cv::Size& size, double pixels, const std::string& name)
{
    constexpr double million = 1e6;
    if (pixels > million * limits.megapixels) {
        throw Failure("image-too-large",
                      name,
                      fmt::format("asks for {:.1f} megapixels, more than the {} that are allowed",
                                  pixels / million,
                                  limits.megapixels));
    }
    if (!limits.size.empty() && (size.width > limits.size.width || size.height > limits.size.height)) {
        throw Failure("image-larger-than-expected",
                      name,
                      "is " + formatSize(size) + ", larger than the " + formatSize(limits.size) +
                          " of the calibration or truth that it belongs to; is it the right file?");
    }
}

std::size_t mostImageBytes(const ImageLimits& limits)
{
    constexpr std::size_t perMegapixel = 8'000'000; // four channels of 16 bits
    constexpr std::size_t aside = 64 << 20;         // previews, profiles
    return perMegapixel * static_cast<std::size_t>(limits.megapixels) + aside;
}

cv::Mat readImage(const std::string& file, const ImageLimits& limits)
{
    const Bytes bytes = readWhole(file, mostImageBytes(limits));
    const ImageHeader header = requireHeader(file, bytes);
    constexpr std::uint64_t largest = 1 << 30;
    requireWithin(limits,
                  cv::Size(static_cast<int>(std::min(header.width, largest)),
                           static_cast<int>(std::min(header.height, largest))),
                  static_cast<double>(header.pixels()),
                  file);
    cv::Mat image;
    std::string reason;
    try {
        image = decode(bytes);
    } catch (const std::exception& error) {
        reason = " (" + toText(describe(error)) + ")";
    }
    if (image.empty()) {
        throw Failure("image-damaged", file, "the image is damaged or cut off; copy it again" + reason);
    }
    return image;
}

} // namespace vision::toolkit
