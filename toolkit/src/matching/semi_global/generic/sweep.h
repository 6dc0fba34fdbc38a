// SPDX-License-Identifier: Apache-2.0
// Included by each implementation after its own bytes.h.

namespace vision::toolkit::semi_global {
namespace {

/// Matches a stripe of rows.
///
/// Row by row, disparities innermost: a forward sweep makes the costs and the paths from the left and from
/// above; a backward sweep adds the path from the right and finds the best match of each pixel and, along the
/// diagonals, the smallest total of each pixel of the right image.
class Sweep
{
public:
    Sweep(const Pair& pair, const Rows& rows, const Workspace& memory)
        : _pair(pair), _rows(rows), _memory(memory), _start(largest(rows.first - warmUp, 0)),
          _slot(pair.steps + searchStep), _above(memory.above + (rows.behindLast - _start) * _slot),
          _numbers(countUp())
    {
    }

    void run()
    {
        startAbove();
        // The raw costs are made two rows ahead, the smoothed ones reach two rows back.
        for (int ahead = _start - 2; ahead < _rows.behindLast + 2; ++ahead) {
            const int y = ahead - 2;
            prepareCosts(clamp(ahead, 0, _pair.height - 1));
            if (y < _start) {
                sweepCosts();
            } else {
                prepareJumps(y);
                y < _rows.first ? sweepAbove() : matchRow(y);
                _above -= _slot;
            }
            exchange(_memory.raw);
            exchange(_memory.once);
        }
    }

private:
    static void exchange(std::uint8_t** rows)
    {
        std::uint8_t* const first = rows[0];
        rows[0] = rows[1];
        rows[1] = first;
    }

    /// Between the sums of neighbouring pixels are 255, and those of the row before the first one are 0.
    void startAbove()
    {
        const std::ptrdiff_t slots = _pair.width + _rows.behindLast - _start;
        std::memset(_memory.above - searchStep, 255, static_cast<std::size_t>(slots * _slot + searchStep));
        for (int x = 0; x < _pair.width; ++x) {
            std::memset(_above + x * _slot, 0, static_cast<std::size_t>(_pair.steps));
        }
        std::memset(_memory.aboveLeast, 0, static_cast<std::size_t>(_pair.width));
    }

    /// The state of a path before its first pixel.
    void startSide()
    {
        std::memset(_memory.side, 0, static_cast<std::size_t>(_pair.steps));
        std::memset(_memory.side + _pair.steps, 255, searchStep);
    }

    void prepareCosts(int y)
    {
        findLeftFeatures(_pair, y, _memory);
        findRightFeatures(_pair, y, _memory);
        _leftValid = _pair.leftValid.first == nullptr ? nullptr : _pair.leftValid.row(y);
    }

    void prepareJumps(int y)
    {
        const std::uint8_t* const row = _pair.smoothLeft.row(y);
        findJumps(row, row - 1, _pair, _memory.jumpFromLeft);
        findJumps(row, _pair.smoothLeft.row(largest(y - 1, 0)), _pair, _memory.jumpFromAbove);
    }

    std::uint8_t* cost(int x) const { return &_memory.cost[std::ptrdiff_t{x} * _pair.steps]; }

    void addCosts(int x)
    {
        const std::ptrdiff_t place = std::ptrdiff_t{x} * _pair.steps;
        const std::ptrdiff_t partner = _pair.width - 1 - x + _pair.settings.minDisparity;
        const std::uint8_t* const right[4] = {_memory.rightFeatures[0] + partner,
                                              _memory.rightFeatures[1] + partner,
                                              _memory.rightFeatures[2] + partner,
                                              _memory.rightFeatures[3] + partner};
        findCosts(PixelFeatures(_memory.leftFeatures, x),
                  right,
                  _leftValid == nullptr || _leftValid[x] != 0,
                  _pair.steps,
                  _memory.raw[0] + place,
                  _memory.raw[1] + place,
                  _memory.once[0] + place,
                  _memory.once[1] + place,
                  _memory.cost + place);
    }

    void sweepCosts()
    {
        for (int x = 0; x < _pair.width; ++x) {
            addCosts(x);
        }
    }

    Carried carryFromAbove(int x) const
    {
        return {Bytes::all(_memory.aboveLeast[x]), _memory.jumpFromAbove[x], _pair.settings.smallStep};
    }

    void keepAbove(int x, Bytes least)
    {
        _memory.aboveLeast[x] = static_cast<std::uint8_t>(findSmallest(least));
    }

    /// Where the sums from above of a pixel go: one slot before those of the pixel above, so that none is
    /// overwritten while it is read.
    std::uint8_t* above(int x) const { return _above + (x - 1) * _slot; }

    void sweepAbove()
    {
        for (int x = 0; x < _pair.width; ++x) {
            addCosts(x);
            keepAbove(x, extendFromAbove(carryFromAbove(x), cost(x), _pair.steps, above(x + 1), above(x)));
        }
    }

    void sweepForward()
    {
        startSide();
        Bytes leastSide = Bytes::all(0);
        for (int x = 0; x < _pair.width; ++x) {
            addCosts(x);
            const Carried fromLeft(leastSide, _memory.jumpFromLeft[x], _pair.settings.smallStep);
            Bytes leastAbove = Bytes::all(0);
            extendForward(fromLeft,
                          carryFromAbove(x),
                          cost(x),
                          _pair.steps,
                          _memory.side,
                          above(x + 1),
                          above(x),
                          _memory.sum + std::ptrdiff_t{x} * _pair.steps,
                          leastSide,
                          leastAbove);
            leastSide = spreadSmallest(leastSide);
            keepAbove(x, leastAbove);
        }
    }

    void sweepBackward()
    {
        startSide();
        const int steps = _pair.steps;
        std::memset(_memory.diagonal, 255, static_cast<std::size_t>(steps) + searchStep);
        Bytes leastSide = Bytes::all(0);
        for (int x = _pair.width - 1; x >= 0; --x) {
            std::uint8_t* const total = _memory.sum + std::ptrdiff_t{x} * steps;
            _memory.rightLeast[x + steps] = _memory.diagonal[0];
            const Carried fromRight(leastSide, _memory.jumpFromLeft[x + 1], _pair.settings.smallStep);
            const Least least =
                extendBackward(fromRight, cost(x), steps, _memory.side, total, _memory.diagonal, leastSide);
            leastSide = spreadSmallest(leastSide);
            choose(total, steps, least, _numbers, x, _memory.choices);
        }
        for (int i = 0; i < steps; ++i) {
            _memory.rightLeast[steps - 1 - i] = _memory.diagonal[i];
        }
    }

    void matchRow(int y)
    {
        sweepForward();
        sweepBackward();
        findContradictions(_pair, _memory);
        judgeRow(_pair, _memory.choices, y);
    }

    const Pair& _pair;
    Rows _rows;
    Workspace _memory;
    int _start;           ///< first row, with those to warm up
    std::ptrdiff_t _slot; ///< from the sums of one pixel to the next
    std::uint8_t* _above; ///< sums of the row above
    const std::uint8_t* _leftValid = nullptr;
    Bytes _numbers;
};

} // namespace
} // namespace vision::toolkit::semi_global
