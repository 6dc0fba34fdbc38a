// SPDX-License-Identifier: Apache-2.0
/// 32 bytes at once.
#ifndef VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_AVX2_BYTES_H
#define VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_AVX2_BYTES_H

#include <immintrin.h>

#include <cstdint>

namespace vision::toolkit::semi_global {
namespace {

struct Bytes
{
    static constexpr int count = 32;

    __m256i value;

    static Bytes load(const std::uint8_t* from)
    {
        return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))};
    }
    static Bytes all(int byte) { return {_mm256_set1_epi8(static_cast<char>(byte))}; }
    void store(std::uint8_t* to) const { _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value); }
};

inline Bytes operator^(Bytes a, Bytes b)
{
    return {_mm256_xor_si256(a.value, b.value)};
}

inline Bytes operator&(Bytes a, Bytes b)
{
    return {_mm256_and_si256(a.value, b.value)};
}

inline Bytes operator|(Bytes a, Bytes b)
{
    return {_mm256_or_si256(a.value, b.value)};
}

inline Bytes addWrapping(Bytes a, Bytes b)
{
    return {_mm256_add_epi8(a.value, b.value)};
}

inline Bytes add(Bytes a, Bytes b)
{
    return {_mm256_adds_epu8(a.value, b.value)};
}

inline Bytes subtract(Bytes a, Bytes b)
{
    return {_mm256_subs_epu8(a.value, b.value)};
}

inline Bytes addSigned(Bytes a, Bytes b)
{
    return {_mm256_adds_epi8(a.value, b.value)};
}

inline Bytes subtractSigned(Bytes a, Bytes b)
{
    return {_mm256_subs_epi8(a.value, b.value)};
}

inline Bytes average(Bytes a, Bytes b)
{
    return {_mm256_avg_epu8(a.value, b.value)};
}

inline Bytes smaller(Bytes a, Bytes b)
{
    return {_mm256_min_epu8(a.value, b.value)};
}

inline Bytes larger(Bytes a, Bytes b)
{
    return {_mm256_max_epu8(a.value, b.value)};
}

inline Bytes equal(Bytes a, Bytes b)
{
    return {_mm256_cmpeq_epi8(a.value, b.value)};
}

template <int factor>
inline Bytes countBits(Bytes a)
{
    constexpr char one = factor;
    constexpr char two = 2 * factor;
    constexpr char three = 3 * factor;
    constexpr char four = 4 * factor;
    const __m256i ofNibble = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, one, one, two, one, two, two, three, one, two, two, three, two, three, three, four));
    const __m256i lowNibble = _mm256_set1_epi8(15);
    const __m256i low = _mm256_and_si256(a.value, lowNibble);
    const __m256i high = _mm256_and_si256(_mm256_srli_epi16(a.value, 4), lowNibble);
    return {_mm256_add_epi8(_mm256_shuffle_epi8(ofNibble, low), _mm256_shuffle_epi8(ofNibble, high))};
}

/// The upper half of one vector and the lower half of the next.
using Bridge = Bytes;

inline Bridge bridge(Bytes first, Bytes second)
{
    return {_mm256_permute2x128_si256(first.value, second.value, 0x21)};
}

/// Each byte's predecessor.
/// @param before between the vector before and this one
inline Bytes predecessors(Bridge before, Bytes here)
{
    return {_mm256_alignr_epi8(here.value, before.value, 15)};
}

/// Each byte's successor.
/// @param after between this vector and the next
inline Bytes successors(Bytes here, Bridge after)
{
    return {_mm256_alignr_epi8(after.value, here.value, 1)};
}

inline std::uint8_t firstByte(Bytes a)
{
    return static_cast<std::uint8_t>(_mm_cvtsi128_si32(_mm256_castsi256_si128(a.value)));
}

/// The smallest byte.
inline int findSmallest(Bytes a)
{
    const __m128i sixteen =
        _mm_min_epu8(_mm256_castsi256_si128(a.value), _mm256_extracti128_si256(a.value, 1));
    const __m128i eight = _mm_min_epu8(sixteen, _mm_srli_epi16(sixteen, 8));
    return _mm_cvtsi128_si32(_mm_minpos_epu16(eight)) & 255;
}

/// All bytes the smallest one.
inline Bytes spreadSmallest(Bytes a)
{
    const __m128i sixteen =
        _mm_min_epu8(_mm256_castsi256_si128(a.value), _mm256_extracti128_si256(a.value, 1));
    const __m128i eight = _mm_min_epu8(sixteen, _mm_srli_epi16(sixteen, 8));
    return {_mm256_broadcastb_epi8(_mm_minpos_epu16(eight))};
}

/// The place of the first byte that is not 0; `count` if all are.
/// @param a of bytes 0 and 255
inline int findFirst(Bytes a)
{
    const auto bits = static_cast<std::uint32_t>(_mm256_movemask_epi8(a.value));
    return bits == 0 ? Bytes::count : __builtin_ctz(bits);
}

} // namespace
} // namespace vision::toolkit::semi_global

#endif
