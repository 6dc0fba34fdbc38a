// SPDX-License-Identifier: Apache-2.0
/// 16 bytes at once.
#ifndef VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_SSE41_BYTES_H
#define VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_SSE41_BYTES_H

#include <smmintrin.h>

#include <cstdint>

namespace vision::toolkit::semi_global {
namespace {

struct Bytes
{
    static constexpr int count = 16;

    __m128i value;

    static Bytes load(const std::uint8_t* from)
    {
        return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(from))};
    }
    static Bytes all(int byte) { return {_mm_set1_epi8(static_cast<char>(byte))}; }
    void store(std::uint8_t* to) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value); }
};

inline Bytes operator^(Bytes a, Bytes b)
{
    return {_mm_xor_si128(a.value, b.value)};
}

inline Bytes operator&(Bytes a, Bytes b)
{
    return {_mm_and_si128(a.value, b.value)};
}

inline Bytes operator|(Bytes a, Bytes b)
{
    return {_mm_or_si128(a.value, b.value)};
}

inline Bytes addWrapping(Bytes a, Bytes b)
{
    return {_mm_add_epi8(a.value, b.value)};
}

inline Bytes add(Bytes a, Bytes b)
{
    return {_mm_adds_epu8(a.value, b.value)};
}

inline Bytes subtract(Bytes a, Bytes b)
{
    return {_mm_subs_epu8(a.value, b.value)};
}

inline Bytes addSigned(Bytes a, Bytes b)
{
    return {_mm_adds_epi8(a.value, b.value)};
}

inline Bytes subtractSigned(Bytes a, Bytes b)
{
    return {_mm_subs_epi8(a.value, b.value)};
}

inline Bytes average(Bytes a, Bytes b)
{
    return {_mm_avg_epu8(a.value, b.value)};
}

inline Bytes smaller(Bytes a, Bytes b)
{
    return {_mm_min_epu8(a.value, b.value)};
}

inline Bytes larger(Bytes a, Bytes b)
{
    return {_mm_max_epu8(a.value, b.value)};
}

inline Bytes equal(Bytes a, Bytes b)
{
    return {_mm_cmpeq_epi8(a.value, b.value)};
}

template <int factor>
inline Bytes countBits(Bytes a)
{
    constexpr char one = factor;
    constexpr char two = 2 * factor;
    constexpr char three = 3 * factor;
    constexpr char four = 4 * factor;
    const __m128i ofNibble =
        _mm_setr_epi8(0, one, one, two, one, two, two, three, one, two, two, three, two, three, three, four);
    const __m128i lowNibble = _mm_set1_epi8(15);
    const __m128i low = _mm_and_si128(a.value, lowNibble);
    const __m128i high = _mm_and_si128(_mm_srli_epi16(a.value, 4), lowNibble);
    return {_mm_add_epi8(_mm_shuffle_epi8(ofNibble, low), _mm_shuffle_epi8(ofNibble, high))};
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
    return {_mm_alignr_epi8(here.value, before.first.value, 15)};
}

/// Each byte's successor.
/// @param after between this vector and the next
inline Bytes successors(Bytes here, Bridge after)
{
    return {_mm_alignr_epi8(after.second.value, here.value, 1)};
}

inline std::uint8_t firstByte(Bytes a)
{
    return static_cast<std::uint8_t>(_mm_cvtsi128_si32(a.value));
}

/// The smallest byte.
inline int findSmallest(Bytes a)
{
    const __m128i eight = _mm_min_epu8(a.value, _mm_srli_epi16(a.value, 8));
    return _mm_cvtsi128_si32(_mm_minpos_epu16(eight)) & 255;
}

/// All bytes the smallest one.
inline Bytes spreadSmallest(Bytes a)
{
    const __m128i eight = _mm_min_epu8(a.value, _mm_srli_epi16(a.value, 8));
    return {_mm_shuffle_epi8(_mm_minpos_epu16(eight), _mm_setzero_si128())};
}

/// The place of the first byte that is not 0; `count` if all are.
/// @param a of bytes 0 and 255
inline int findFirst(Bytes a)
{
    const auto bits = static_cast<std::uint32_t>(_mm_movemask_epi8(a.value));
    return bits == 0 ? Bytes::count : __builtin_ctz(bits);
}

} // namespace
} // namespace vision::toolkit::semi_global

#endif
