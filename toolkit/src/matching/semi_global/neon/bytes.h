// SPDX-License-Identifier: Apache-2.0
/// 16 bytes at once.
#ifndef VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_NEON_BYTES_H
#define VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_NEON_BYTES_H

#include <arm_neon.h>

#include <cstdint>

namespace vision::toolkit::semi_global {
namespace {

struct Bytes
{
    static constexpr int count = 16;

    uint8x16_t value;

    static Bytes load(const std::uint8_t* from) { return {vld1q_u8(from)}; }
    static Bytes all(int byte) { return {vdupq_n_u8(static_cast<std::uint8_t>(byte))}; }
    void store(std::uint8_t* to) const { vst1q_u8(to, value); }
};

inline Bytes operator^(Bytes a, Bytes b)
{
    return {veorq_u8(a.value, b.value)};
}

inline Bytes operator&(Bytes a, Bytes b)
{
    return {vandq_u8(a.value, b.value)};
}

inline Bytes operator|(Bytes a, Bytes b)
{
    return {vorrq_u8(a.value, b.value)};
}

inline Bytes addWrapping(Bytes a, Bytes b)
{
    return {vaddq_u8(a.value, b.value)};
}

inline Bytes add(Bytes a, Bytes b)
{
    return {vqaddq_u8(a.value, b.value)};
}

inline Bytes subtract(Bytes a, Bytes b)
{
    return {vqsubq_u8(a.value, b.value)};
}

inline Bytes addSigned(Bytes a, Bytes b)
{
    return {vreinterpretq_u8_s8(vqaddq_s8(vreinterpretq_s8_u8(a.value), vreinterpretq_s8_u8(b.value)))};
}

inline Bytes subtractSigned(Bytes a, Bytes b)
{
    return {vreinterpretq_u8_s8(vqsubq_s8(vreinterpretq_s8_u8(a.value), vreinterpretq_s8_u8(b.value)))};
}

inline Bytes average(Bytes a, Bytes b)
{
    return {vrhaddq_u8(a.value, b.value)};
}

inline Bytes smaller(Bytes a, Bytes b)
{
    return {vminq_u8(a.value, b.value)};
}

inline Bytes larger(Bytes a, Bytes b)
{
    return {vmaxq_u8(a.value, b.value)};
}

inline Bytes equal(Bytes a, Bytes b)
{
    return {vceqq_u8(a.value, b.value)};
}

template <int factor>
inline Bytes countBits(Bytes a)
{
    return {vmulq_u8(vcntq_u8(a.value), vdupq_n_u8(factor))};
}

/// Two neighbouring vectors.
struct Bridge
{
    Bytes first;
    Bytes second;
};

inline Bridge bridge(Bytes first, Bytes second)
{
    return {first, second};
}

/// Each byte's predecessor.
/// @param before between the vector before and this one
inline Bytes predecessors(Bridge before, Bytes here)
{
    return {vextq_u8(before.first.value, here.value, 15)};
}

/// Each byte's successor.
/// @param after between this vector and the next
inline Bytes successors(Bytes here, Bridge after)
{
    return {vextq_u8(here.value, after.second.value, 1)};
}

inline std::uint8_t firstByte(Bytes a)
{
    return vgetq_lane_u8(a.value, 0);
}

/// The smallest byte.
inline int findSmallest(Bytes a)
{
    return vminvq_u8(a.value);
}

/// All bytes the smallest one.
inline Bytes spreadSmallest(Bytes a)
{
    return Bytes::all(vminvq_u8(a.value));
}

/// The place of the first byte that is not 0; `count` if all are.
/// @param a of bytes 0 and 255
inline int findFirst(Bytes a)
{
    // Four bits of each byte.
    const uint8x8_t narrow = vshrn_n_u16(vreinterpretq_u16_u8(a.value), 4);
    const std::uint64_t bits = vget_lane_u64(vreinterpret_u64_u8(narrow), 0);
    return bits == 0 ? Bytes::count : __builtin_ctzll(bits) / 4;
}

} // namespace
} // namespace vision::toolkit::semi_global

#endif
