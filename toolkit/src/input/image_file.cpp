// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/input/images.h>

#include <vision/toolkit/failure.h>

#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <vector>

namespace vision::toolkit {

namespace {

using Bytes = std::vector<unsigned char>;

Bytes readBytes(const std::string& file)
{
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (!fs::exists(status)) {
        throw Failure(file + ": cannot open the image: " + error.message() + "; check the name");
    }
    if (!fs::is_regular_file(status)) {
        throw Failure(file + ": is a folder or a device; name an image file");
    }
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    Bytes bytes(static_cast<std::size_t>(fs::file_size(file)));
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!stream) {
        throw Failure(file + ": cannot read the image: " + std::strerror(errno));
    }
    if (bytes.empty()) {
        throw Failure(file + ": is empty; copy the image again");
    }
    return bytes;
}

bool startsWith(const Bytes& bytes, std::string_view signature)
{
    return bytes.size() >= signature.size() &&
           std::equal(
               signature.begin(), signature.end(), bytes.begin(), [](char wanted, unsigned char found) {
                   return static_cast<unsigned char>(wanted) == found;
               });
}

/// Walks over the markers of a JPEG file to the one that ends it. Searching backwards for that one would
/// not do: an embedded preview has it too.
bool isWholeJpeg(const Bytes& bytes)
{
    constexpr unsigned char endOfImage = 0xD9;
    const auto isPartOfScan = [](unsigned char code) { return code == 0 || (0xD0 <= code && code <= 0xD7); };

    std::size_t at = 2; // behind the start of the image
    while (at + 1 < bytes.size()) {
        const unsigned char code = bytes[at + 1];
        if (bytes[at] != 0xFF || code == 0xFF || isPartOfScan(code)) {
            ++at;
            continue;
        }
        if (code == endOfImage) {
            return true;
        }
        if (at + 3 >= bytes.size()) {
            return false;
        }
        at += 2 + (std::size_t{bytes[at + 2]} << 8 | bytes[at + 3]);
    }
    return false;
}

/// OpenCV fills what a cut-off file lacks with grey or black and says nothing.
void requireWhole(const std::string& file, const Bytes& bytes)
{
    constexpr std::string_view endOfPng = "IEND";
    const bool isWhole =
        startsWith(bytes, "\xFF\xD8") ? isWholeJpeg(bytes)
        : startsWith(bytes, "\x89PNG")
            ? std::search(bytes.begin(), bytes.end(), endOfPng.begin(), endOfPng.end()) != bytes.end()
            : true;
    if (!isWhole) {
        throw Failure(file + ": the image is damaged or cut off; copy it again");
    }
}

} // namespace

cv::Mat readImage(const std::string& file)
{
    const Bytes bytes = readBytes(file);
    requireWhole(file, bytes);
    cv::Mat image;
    try {
        image = cv::imdecode(bytes, cv::IMREAD_UNCHANGED);
    } catch (const cv::Exception& error) {
        throw Failure(file + ": cannot decode the image: " + toText(describe(error)));
    }
    if (image.empty()) {
        throw Failure(file + ": is damaged or not an image of a known format; convert it to PNG");
    }
    return image;
}

} // namespace vision::toolkit
