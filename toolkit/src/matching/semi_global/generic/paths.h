// SPDX-License-Identifier: Apache-2.0
// Included by each implementation after its own bytes.h.

namespace vision::toolkit::semi_global {
namespace {

/// What a path brings along from its previous pixel, in every byte.
struct Carried
{
    Bytes least; ///< smallest sum
    Bytes jump;  ///< the same after a large step
    Bytes step;  ///< penalty of a small step

    Carried(Bytes leastSum, int largeStep, int smallStep)
        : least(leastSum), jump(add(leastSum, Bytes::all(largeStep))), step(Bytes::all(smallStep))
    {
    }

    /// What the path adds to the cost of a disparity: the cheapest way there less the cheapest of all.
    Bytes extend(Bytes here, Bytes neighbours) const
    {
        return subtract(smaller(smaller(here, add(neighbours, step)), jump), least);
    }
};

/// Goes through the sums of a path at one pixel, vector by vector, with both neighbours of each byte. They
/// are shifted in registers: loads that overlap what was just stored would wait for it.
class Walk
{
public:
    explicit Walk(const std::uint8_t* sums)
        : _sums(sums), _here(Bytes::load(sums)), _next(Bytes::load(sums + Bytes::count)),
          _before(bridge(Bytes::all(255), _here)), _after(bridge(_here, _next))
    {
    }

    Bytes here() const { return _here; }
    Bytes neighbours() const { return smaller(predecessors(_before, _here), successors(_here, _after)); }

    void advance()
    {
        _sums += Bytes::count;
        _here = _next;
        _next = Bytes::load(_sums + Bytes::count);
        _before = _after;
        _after = bridge(_here, _next);
    }

private:
    const std::uint8_t* _sums;
    Bytes _here;
    Bytes _next;
    Bridge _before;
    Bridge _after;
};

/// One pixel of the path from above.
/// @param before sums of the pixel above, with 255 on both sides
/// @param sums takes those of this pixel
/// @return the smallest one
inline Bytes extendFromAbove(const Carried& carried, const std::uint8_t* cost, int steps,
                             const std::uint8_t* before, std::uint8_t* sums)
{
    Bytes least = Bytes::all(255);
    for (int i = 0; i < steps; i += Bytes::count) {
        const Bytes neighbours = smaller(Bytes::load(before + i - 1), Bytes::load(before + i + 1));
        const Bytes sum = add(carried.extend(Bytes::load(before + i), neighbours), Bytes::load(cost + i));
        sum.store(sums + i);
        least = smaller(least, sum);
    }
    return least;
}

/// One pixel of the paths from the left and from above.
/// @param side sums of the path from the left, of the pixel before, then of this one
/// @param total takes the sum of both
/// @param leastSide,leastAbove take the smallest sums
inline void extendForward(const Carried& fromLeft, const Carried& fromAbove, const std::uint8_t* cost,
                          int steps, std::uint8_t* side, const std::uint8_t* before, std::uint8_t* sums,
                          std::uint8_t* total, Bytes& leastSide, Bytes& leastAbove)
{
    leastSide = leastAbove = Bytes::all(255);
    Walk walk(side);
    for (int i = 0; i < steps; i += Bytes::count, walk.advance()) {
        const Bytes here = Bytes::load(cost + i);
        const Bytes left = add(fromLeft.extend(walk.here(), walk.neighbours()), here);
        left.store(side + i);
        leastSide = smaller(leastSide, left);
        const Bytes neighbours = smaller(Bytes::load(before + i - 1), Bytes::load(before + i + 1));
        const Bytes sum = add(fromAbove.extend(Bytes::load(before + i), neighbours), here);
        sum.store(sums + i);
        leastAbove = smaller(leastAbove, sum);
        add(left, sum).store(total + i);
    }
}

/// The smallest totals of a pixel: in each byte of a vector, over the vectors, the smallest and the second.
struct Least
{
    Bytes first = Bytes::all(255);
    Bytes second = Bytes::all(255);

    void take(Bytes total)
    {
        second = smaller(second, larger(first, total));
        first = smaller(first, total);
    }
};

/// One pixel of the path from the right, which completes the totals.
/// @param side as above, from the right
/// @param diagonal smallest totals of the pixels of the right image so far, the pixel of the first disparity
///        first; of the pixel at the right, then of this one
inline Least extendBackward(const Carried& fromRight, const std::uint8_t* cost, int steps, std::uint8_t* side,
                            std::uint8_t* total, std::uint8_t* diagonal, Bytes& leastSide)
{
    leastSide = Bytes::all(255);
    Least least;
    Walk walk(side);
    Bytes onDiagonal = Bytes::load(diagonal);
    for (int i = 0; i < steps; i += Bytes::count, walk.advance()) {
        const Bytes right = fromRight.extend(walk.here(), walk.neighbours());
        const Bytes sum = add(right, Bytes::load(cost + i));
        sum.store(side + i);
        leastSide = smaller(leastSide, sum);
        const Bytes complete = add(Bytes::load(total + i), right);
        complete.store(total + i);
        least.take(complete);
        const Bytes next = Bytes::load(diagonal + i + Bytes::count);
        smaller(complete, successors(onDiagonal, bridge(onDiagonal, next))).store(diagonal + i);
        onDiagonal = next;
    }
    return least;
}

} // namespace
} // namespace vision::toolkit::semi_global
