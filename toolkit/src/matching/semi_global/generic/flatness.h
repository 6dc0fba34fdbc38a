// SPDX-License-Identifier: Apache-2.0
// Included by each implementation after its own bytes.h.

namespace vision::toolkit::semi_global {
namespace {

/// Counts, for each column, the rows up to this one that changed nowhere, neither sideways nor from the row
/// above.
inline void countStillRows(const std::uint8_t* here, const std::uint8_t* above, int width,
                           std::uint8_t* counts)
{
    for (int x = 0; x < width; x += Bytes::count) {
        const Bytes value = Bytes::load(here + x);
        const Bytes isStill = equal(value, Bytes::load(here + x - 1)) & equal(value, Bytes::load(above + x));
        (add(Bytes::load(counts + x), Bytes::all(1)) & isStill).store(counts + x);
    }
    extendRow(counts, width, flatRadius, flatRadius + Bytes::count);
}

/// Drops the matches of a row around which at least so many rows are still.
inline void dropStill(const std::uint8_t* counts, int rows, int width, std::int16_t* disparity)
{
    for (int x = 0; x < width; x += Bytes::count) {
        Bytes least = Bytes::load(counts + x);
        for (int dx = -flatRadius; dx <= flatRadius; ++dx) {
            least = smaller(least, Bytes::load(counts + x + dx));
        }
        const Bytes isFlat = equal(larger(least, Bytes::all(rows)), least);
        if (findFirst(isFlat) == Bytes::count) {
            continue;
        }
        std::uint8_t flags[Bytes::count];
        isFlat.store(flags);
        for (int i = 0; i < smallest(Bytes::count, width - x); ++i) {
            disparity[x + i] = flags[i] != 0 ? noMatch : disparity[x + i];
        }
    }
}

/// Drops the matches of pixels around which the image does not change at all, such as black borders and
/// clipped skies: there the paths carry on whatever comes from the side.
inline void dropFlat(const Pair& pair, const Rows& rows, const Workspace& memory)
{
    std::memset(memory.stillRows, 0, static_cast<std::size_t>(pair.width));
    int ahead = largest(rows.first - flatRadius, 0);
    for (int y = rows.first; y < rows.behindLast; ++y) {
        const int behind = smallest(y + flatRadius + 1, pair.height);
        for (; ahead < behind; ++ahead) {
            countStillRows(pair.smoothLeft.row(ahead),
                           pair.smoothLeft.row(largest(ahead - 1, 0)),
                           pair.width,
                           memory.stillRows);
        }
        dropStill(memory.stillRows,
                  behind - largest(y - flatRadius, 0),
                  pair.width,
                  pair.disparity + std::ptrdiff_t{y} * pair.width);
    }
}

} // namespace
} // namespace vision::toolkit::semi_global
