#ifndef VISION_TOOLKIT_OUTPUT_LITTLE_ENDIAN_H
#define VISION_TOOLKIT_OUTPUT_LITTLE_ENDIAN_H

#include <cstdint>
#include <cstring>
#include <string>

namespace vision::toolkit {

/// Appends a number byte by byte, so that files are the same on every machine.
inline void appendLittleEndian(std::string& bytes, float number)
{
    static_assert(sizeof(std::uint32_t) == sizeof(float));
    std::uint32_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(bits >> shift & 0xFFU);
    }
}

} // namespace vision::toolkit

#endif
