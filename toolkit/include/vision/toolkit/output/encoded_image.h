// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_OUTPUT_ENCODED_IMAGE_H
#define VISION_TOOLKIT_OUTPUT_ENCODED_IMAGE_H

#include <cstddef>
#include <string>

namespace vision::toolkit {

/// The bytes of a file of integers, which cannot hold every number.
struct EncodedImage
{
    std::string bytes;
    std::size_t unfit; ///< pixels with a value that the format cannot hold; they are written as having none
};

} // namespace vision::toolkit

#endif
