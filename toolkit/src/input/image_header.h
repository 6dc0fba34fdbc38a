// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_INPUT_IMAGE_HEADER_H
#define VISION_TOOLKIT_SRC_INPUT_IMAGE_HEADER_H

#include <cstdint>
#include <optional>
#include <vector>

namespace vision::toolkit {

/// What an image file says of itself before anything is decoded.
struct ImageHeader
{
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint64_t decodedAtOnce = 0; ///< pixels of the largest part that is decoded as one, if that is stated
    unsigned bits = 8;               ///< of a channel

    /// How many pixels there must be room for.
    std::uint64_t pixels() const;
};

/// Reads the header of a PNG, JPEG, TIFF, BMP, PNM, WebP, JPEG 2000 or Sun raster file: of all formats that
/// are decoded, since a few bytes can ask for gigabytes.
/// @return nothing for any other format and for a header that is cut off or damaged
std::optional<ImageHeader> readImageHeader(const std::vector<unsigned char>& bytes);

} // namespace vision::toolkit

#endif
