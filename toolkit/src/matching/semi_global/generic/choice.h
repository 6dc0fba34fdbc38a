// SPDX-License-Identifier: Apache-2.0
// Included by each implementation after its own bytes.h.

namespace vision::toolkit::semi_global {
namespace {

inline Bytes countUp()
{
    alignas(64) std::uint8_t numbers[Bytes::count];
    for (int i = 0; i < Bytes::count; ++i) {
        numbers[i] = static_cast<std::uint8_t>(i);
    }
    return Bytes::load(numbers);
}

/// The first of the totals that are smallest. Without a jump, as noise would make it a surprise each time.
inline int findStep(const std::uint8_t* totals, int steps, Bytes smallestTotal)
{
    int step = 0;
    for (int i = steps - Bytes::count; i >= 0; i -= Bytes::count) {
        const int place = findFirst(equal(Bytes::load(totals + i), smallestTotal));
        step = place < Bytes::count ? i + place : step;
    }
    return step;
}

/// Finds the best match of a pixel.
inline void choose(const std::uint8_t* totals, int steps, const Least& least, Bytes numbers, int x,
                   const Choices& choices)
{
    const Bytes smallestTotal = spreadSmallest(least.first);
    const int step = findStep(totals, steps, smallestTotal);
    const Bytes before = Bytes::all(step > 0 ? totals[step - 1] : 255);
    const Bytes after = Bytes::all(step + 1 < steps ? totals[step + 1] : 255);
    // The second is not at the match nor beside it: where a byte's smallest total is there, its second
    // counts.
    const auto select = [&](int at) { return equal(numbers, Bytes::all(at & (Bytes::count - 1))); };
    const Bytes taken = select(step) | (select(step - 1) & equal(least.first, before)) |
                        (select(step + 1) & equal(least.first, after));
    choices.step[x] = static_cast<std::uint16_t>(step);
    choices.before[x] = firstByte(before);
    choices.least[x] = firstByte(smallestTotal);
    choices.after[x] = firstByte(after);
    choices.second[x] = static_cast<std::uint8_t>(findSmallest(larger(least.first, least.second & taken)));
}

/// How much the right image's pixel at the other end of a match would rather have another one: by how much
/// its smallest total is below that of the match or a neighbour, one pixel and one disparity away.
inline void findContradictions(const Pair& pair, const Workspace& memory)
{
    const Choices& choices = memory.choices;
    const std::uint8_t* totals = memory.sum;
    for (int x = 0; x < pair.width; ++x, totals += pair.steps) {
        const int step = choices.step[x];
        int total = choices.least[x];
        if (x > 0 && step > 0) {
            total = smallest(total, totals[step - pair.steps - 1]);
        }
        if (x + 1 < pair.width && step + 1 < pair.steps) {
            total = smallest(total, totals[step + pair.steps + 1]);
        }
        choices.contradiction[x] =
            static_cast<std::uint8_t>(total - memory.rightLeast[x - step + pair.steps - 1]);
    }
}

} // namespace
} // namespace vision::toolkit::semi_global
