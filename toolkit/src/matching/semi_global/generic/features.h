// SPDX-License-Identifier: Apache-2.0
// Included by each implementation after its own bytes.h.

namespace vision::toolkit::semi_global {
namespace {

/// (1 6 1) / 8 in three steps of eight bits.
inline Bytes smoothThree(Bytes before, Bytes here, Bytes after)
{
    return average(average(average(before, after), here), here);
}

/// Repeats the ends of a row beside it.
/// @param before,after how many bytes
inline void extendRow(std::uint8_t* row, int width, int before, int after)
{
    std::memset(row - before, row[0], static_cast<std::size_t>(before));
    std::memset(row + width, row[width - 1], static_cast<std::size_t>(after));
}

inline void copyRow(const std::uint8_t* from, int width, bool isMirrored, std::uint8_t* to)
{
    if (!isMirrored) {
        std::memcpy(to, from, static_cast<std::size_t>(width));
        return;
    }
    for (int x = 0; x < width; ++x) {
        to[x] = from[width - 1 - x];
    }
}

/// Smooths rows of an image, as single pixels of it are noisy.
inline void smoothRows(const Plane& image, int width, int height, bool isMirrored, const Rows& rows,
                       const Workspace& memory, const Plane& smooth)
{
    const auto take = [&](int y) {
        copyRow(image.row(clamp(y, 0, height - 1)), width, isMirrored, memory.rawRows[(y + 3) % 3]);
    };
    take(rows.first - 1);
    take(rows.first);
    std::uint8_t* const vertical = memory.scratch;
    for (int y = rows.first; y < rows.behindLast; ++y) {
        take(y + 1);
        for (int x = 0; x < width; x += Bytes::count) {
            smoothThree(Bytes::load(memory.rawRows[(y + 2) % 3] + x),
                        Bytes::load(memory.rawRows[y % 3] + x),
                        Bytes::load(memory.rawRows[(y + 1) % 3] + x))
                .store(vertical + x);
        }
        extendRow(vertical, width, 1, Bytes::count);
        std::uint8_t* const out = smooth.row(y);
        for (int x = 0; x < width; x += Bytes::count) {
            smoothThree(
                Bytes::load(vertical + x - 1), Bytes::load(vertical + x), Bytes::load(vertical + x + 1))
                .store(out + x);
        }
        extendRow(out, width, planeMargin, 2 * planeMargin);
    }
}

/// Rows of a smoothed image around one of them; beyond the image its outermost ones.
struct Neighbourhood
{
    const std::uint8_t* rows[9]{};

    Neighbourhood(const Plane& smooth, int y, int height)
    {
        for (int dy = -4; dy <= 4; ++dy) {
            rows[dy + 4] = smooth.row(clamp(y + dy, 0, height - 1));
        }
    }
    const std::uint8_t* at(int dy) const { return rows[dy + 4]; }
};

/// One bit for each of 24 neighbours in 9 x 9 pixels: whether it is at most as bright as the centre, but for
/// the noise.
/// @param side 1, in a mirrored image -1
inline void findCensus(const Neighbourhood& around, int x, int side, int threshold,
                       std::uint8_t* const* features)
{
    const Bytes centre = add(Bytes::load(around.at(0) + x), Bytes::all(threshold));
    int bit = 0;
    Bytes bits = Bytes::all(0);
    for (int dy = -4; dy <= 4; dy += 2) {
        for (int dx = -4; dx <= 4; dx += 2) {
            if (dx == 0 && dy == 0) {
                continue;
            }
            const std::ptrdiff_t column = x + std::ptrdiff_t{side} * dx;
            const Bytes other = Bytes::load(around.at(dy) + column);
            bits = bits | (equal(larger(other, centre), centre) & Bytes::all(1 << bit % 8));
            if (++bit % 8 == 0) {
                bits.store(features[bit / 8 - 1] + x);
                bits = Bytes::all(0);
            }
        }
    }
}

/// The horizontal slope by Sobel's filter, within +-47, above 0.
inline void findSlope(const Neighbourhood& around, int x, int side, std::uint8_t* slope)
{
    const Bytes sign = Bytes::all(128);
    const auto difference = [&](int dy) {
        const std::uint8_t* const row = around.at(dy) + x;
        return subtractSigned(Bytes::load(row + side) ^ sign, Bytes::load(row - side) ^ sign);
    };
    const Bytes middle = difference(0);
    const Bytes sum = addSigned(addSigned(addSigned(difference(-1), difference(1)), middle), middle) ^ sign;
    subtract(smaller(larger(sum, Bytes::all(128 - steepest)), Bytes::all(128 + steepest)),
             Bytes::all(128 - steepest))
        .store(slope + x);
}

inline void findFeatures(const Plane& smooth, int y, int width, int height, int side, int threshold,
                         std::uint8_t* const* features)
{
    const Neighbourhood around(smooth, y, height);
    for (int x = 0; x < width; x += Bytes::count) {
        findCensus(around, x, side, threshold, features);
        findSlope(around, x, side, features[3]);
    }
}

/// The features of a row of the left image.
inline void findLeftFeatures(const Pair& pair, int y, const Workspace& memory)
{
    findFeatures(pair.smoothLeft, y, pair.width, pair.height, 1, pair.leftThreshold, memory.leftFeatures);
}

/// The features of a row of the right image, mirrored and extended to all columns that are searched.
inline void findRightFeatures(const Pair& pair, int y, const Workspace& memory)
{
    const int lowest = smallest(pair.settings.minDisparity, 0);
    const int behind = pair.width + largest(pair.settings.minDisparity + pair.steps, 0);
    findFeatures(pair.smoothRight, y, pair.width, pair.height, -1, pair.rightThreshold, memory.rightFeatures);
    const std::uint8_t* const valid =
        pair.rightValid.first == nullptr ? nullptr : pair.rightValid.row(y) + pair.width - 1;
    for (int i = 0; i < 4; ++i) {
        const int neutral = i < 3 ? censusOfInvalid & 255 : steepest;
        for (int x = 0; valid != nullptr && x < pair.width; ++x) {
            if (valid[-x] == 0) {
                memory.rightFeatures[i][x] = static_cast<std::uint8_t>(neutral);
            }
        }
        extendRow(memory.rightFeatures[i], pair.width, -lowest, behind - pair.width + Bytes::count);
    }
}

/// What a large step of the disparity costs between pixels of two rows: less where the image has an edge.
inline void findJumps(const std::uint8_t* here, const std::uint8_t* before, const Pair& pair,
                      std::uint8_t* jumps)
{
    const Settings& settings = pair.settings;
    for (int x = 0; x < pair.width; x += Bytes::count) {
        const Bytes a = Bytes::load(here + x);
        const Bytes b = Bytes::load(before + x);
        Bytes edge = subtract(a, b) | subtract(b, a);
        for (int factor = 1; factor < settings.edgeFactor; factor *= 2) {
            edge = add(edge, edge);
        }
        larger(subtract(Bytes::all(settings.largeStep), edge), Bytes::all(settings.leastLargeStep))
            .store(jumps + x);
    }
}

} // namespace
} // namespace vision::toolkit::semi_global
