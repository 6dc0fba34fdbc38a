// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_OUTPUT_LITTLE_ENDIAN_H
#define VISION_TOOLKIT_SRC_OUTPUT_LITTLE_ENDIAN_H

#include <cstdint>
#include <cstring>

namespace vision::toolkit {

/// Puts a number byte by byte, so that files are the same on every machine.
/// @return behind it
inline std::uint8_t* putLittleEndian(float number, std::uint8_t* to)
{
    static_assert(sizeof(std::uint32_t) == sizeof(float));
    std::uint32_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    for (unsigned shift = 0; shift < 32; shift += 8) {
        *to++ = static_cast<std::uint8_t>(bits >> shift & 0xFFU);
    }
    return to;
}

} // namespace vision::toolkit

#endif
