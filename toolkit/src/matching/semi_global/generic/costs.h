// SPDX-License-Identifier: Apache-2.0
// Included by each implementation after its own bytes.h.

namespace vision::toolkit::semi_global {
namespace {

/// The features of one pixel of the left image in every byte.
struct PixelFeatures
{
    Bytes census[3];
    Bytes slope;

    PixelFeatures(std::uint8_t* const* features, int x)
        : census{Bytes::all(features[0][x]), Bytes::all(features[1][x]), Bytes::all(features[2][x])},
          slope(Bytes::all(features[3][x]))
    {
    }
};

/// Twice the number of bits that differ.
/// Three bytes of bits become one that counts once and one that counts twice, so that two are counted.
inline Bytes compareCensus(Bytes a, Bytes b, Bytes c)
{
    const Bytes ab = a ^ b;
    const Bytes once = ab ^ c;
    const Bytes twice = (a & b) | (ab & c);
    return addWrapping(countBits<2>(once), countBits<4>(twice));
}

inline Bytes compareSlopes(Bytes a, Bytes b)
{
    return average(subtract(a, b) | subtract(b, a), Bytes::all(0));
}

/// (1 2 1) / 4
inline Bytes smoothCosts(Bytes before, Bytes here, Bytes after)
{
    return average(average(before, after), here);
}

/// Costs of one pixel at all disparities, smoothed over the rows above and below.
///
/// The raw ones are those of row y + 2, the smoothed ones those of row y.
/// @param right the right image's features, first those that belong to the smallest disparity
inline void findCosts(const PixelFeatures& left, const std::uint8_t* const* right, bool isValid, int steps,
                      std::uint8_t* rawOlder, const std::uint8_t* rawNewer, std::uint8_t* onceOlder,
                      const std::uint8_t* onceNewer, std::uint8_t* cost)
{
    const Bytes valid = Bytes::all(isValid ? 255 : 0);
    for (int i = 0; i < steps; i += Bytes::count) {
        const Bytes census = compareCensus(left.census[0] ^ Bytes::load(right[0] + i),
                                           left.census[1] ^ Bytes::load(right[1] + i),
                                           left.census[2] ^ Bytes::load(right[2] + i));
        const Bytes slopes = compareSlopes(left.slope, Bytes::load(right[3] + i));
        const Bytes raw = addWrapping(census, slopes) & valid;
        const Bytes once = smoothCosts(Bytes::load(rawOlder + i), Bytes::load(rawNewer + i), raw);
        raw.store(rawOlder + i);
        const Bytes twice = smoothCosts(Bytes::load(onceOlder + i), Bytes::load(onceNewer + i), once);
        once.store(onceOlder + i);
        twice.store(cost + i);
    }
}

} // namespace
} // namespace vision::toolkit::semi_global
