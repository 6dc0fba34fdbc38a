// SPDX-License-Identifier: Apache-2.0
/// What the matcher computes, plainly. All other implementations give the same bits.
#include "matching/semi_global/implementation.h"
#include "matching/semi_global/judgement.h"

#include <algorithm>
#include <bitset>
#include <cstdlib>
#include <vector>

namespace vision::toolkit::semi_global {

namespace {

int average(int a, int b)
{
    return (a + b + 1) / 2;
}

int limitByte(int value)
{
    return std::clamp(value, 0, 255);
}

/// What describes a pixel of an image.
struct Feature
{
    unsigned census;
    int slope;
};

constexpr Feature ofInvalid{censusOfInvalid, 0};

/// A smoothed image.
class Image
{
public:
    Image(const Pair& pair, bool isLeft)
        : _smooth(isLeft ? pair.smoothLeft : pair.smoothRight), _isMirrored(!isLeft),
          _valid(isLeft ? pair.leftValid : pair.rightValid),
          _threshold(isLeft ? pair.leftThreshold : pair.rightThreshold), _width(pair.width),
          _height(pair.height)
    {
    }

    bool isValid(int x, int y) const { return _valid.first == nullptr || _valid.row(y)[x] != 0; }

    /// Beyond its borders an image goes on as it ends.
    int at(int x, int y) const
    {
        const int column = std::clamp(x, 0, _width - 1);
        return _smooth.row(std::clamp(y, 0, _height - 1))[_isMirrored ? _width - 1 - column : column];
    }

    Feature describe(int x, int y) const { return {findCensus(x, y), findSlope(x, y)}; }

private:
    unsigned findCensus(int x, int y) const
    {
        const int centre = limitByte(at(x, y) + _threshold);
        unsigned bits = 0;
        int bit = 0;
        for (int dy = -4; dy <= 4; dy += 2) {
            for (int dx = -4; dx <= 4; dx += 2) {
                if (dx != 0 || dy != 0) {
                    bits |= (at(x + dx, y + dy) <= centre ? 1U : 0U) << bit++;
                }
            }
        }
        return bits;
    }

    int findSlope(int x, int y) const
    {
        const auto saturate = [](int value) { return std::clamp(value, -128, 127); };
        const auto difference = [&](int dy) { return saturate(at(x + 1, y + dy) - at(x - 1, y + dy)); };
        const int outer = saturate(difference(-1) + difference(1));
        return std::clamp(saturate(saturate(outer + difference(0)) + difference(0)), -steepest, steepest);
    }

    Plane _smooth;
    bool _isMirrored;
    Plane _valid;
    int _threshold;
    int _width;
    int _height;
};

using Sums = std::vector<int>; ///< one for each disparity

/// The sums of a path at a pixel, from those at the pixel before.
Sums extend(const Sums& before, const Sums& costs, int smallStep, int largeStep)
{
    const int least = *std::min_element(before.begin(), before.end());
    const std::size_t last = before.size() - 1;
    Sums sums(before.size());
    for (std::size_t i = 0; i <= last; ++i) {
        const int neighbour = std::min(before[i > 0 ? i - 1 : 1], before[i < last ? i + 1 : last - 1]);
        sums[i] = costs[i] + std::min({before[i], neighbour + smallStep, least + largeStep}) - least;
    }
    return sums;
}

class Definition
{
public:
    explicit Definition(const Pair& pair)
        : _pair(pair), _settings(pair.settings), _left(pair, true), _right(pair, false)
    {
    }

    void match(const Rows& rows) const
    {
        std::vector<Sums> above(static_cast<std::size_t>(_pair.width), start());
        for (int y = std::max(rows.first - warmUp, 0); y < rows.behindLast; ++y) {
            const std::vector<Sums> costs = findCosts(y);
            for (int x = 0; x < _pair.width; ++x) {
                Sums& sums = above[static_cast<std::size_t>(x)];
                sums = extend(sums,
                              costs[static_cast<std::size_t>(x)],
                              _settings.smallStep,
                              findLargeStep(x, y, x, y - 1));
            }
            if (y >= rows.first) {
                judge(y, addUp(y, costs, above));
                dropFlat(y);
            }
        }
    }

private:
    Sums start() const { return Sums(static_cast<std::size_t>(_pair.steps), 0); }

    int findLargeStep(int x, int y, int otherX, int otherY) const
    {
        const int edge = std::abs(_left.at(x, y) - _left.at(otherX, otherY));
        return std::max(_settings.largeStep - std::min(_settings.edgeFactor * edge, 255),
                        _settings.leastLargeStep);
    }

    /// Costs of one row, not smoothed yet, for each pixel and disparity.
    std::vector<Sums> compareRow(int y) const
    {
        std::vector<Feature> right;
        right.reserve(static_cast<std::size_t>(_pair.width));
        for (int x = 0; x < _pair.width; ++x) {
            right.push_back(_right.isValid(x, y) ? _right.describe(x, y) : ofInvalid);
        }
        std::vector<Sums> costs(static_cast<std::size_t>(_pair.width), start());
        for (int x = 0; x < _pair.width; ++x) {
            const Feature left = _left.describe(x, y);
            for (int i = 0; i < _pair.steps && _left.isValid(x, y); ++i) {
                const int partner = std::clamp(x - _settings.minDisparity - i, 0, _pair.width - 1);
                const Feature& other = right[static_cast<std::size_t>(partner)];
                const auto differing = std::bitset<24>(left.census ^ other.census).count();
                costs[static_cast<std::size_t>(x)][static_cast<std::size_t>(i)] =
                    2 * static_cast<int>(differing) + average(std::abs(left.slope - other.slope), 0);
            }
        }
        return costs;
    }

    /// Costs of one row, smoothed twice by (1 2 1) / 4 over the rows.
    std::vector<Sums> findCosts(int y) const
    {
        std::vector<Sums> rows[5];
        for (int i = 0; i < 5; ++i) {
            rows[i] = compareRow(std::clamp(y + i - 2, 0, _pair.height - 1));
        }
        const auto smooth = [](int before, int here, int after) {
            return average(average(before, after), here);
        };
        for (std::size_t x = 0; x < rows[0].size(); ++x) {
            for (std::size_t i = 0; i < rows[0][x].size(); ++i) {
                int once[3];
                for (int j = 0; j < 3; ++j) {
                    once[j] = smooth(rows[j][x][i], rows[j + 1][x][i], rows[j + 2][x][i]);
                }
                rows[0][x][i] = smooth(once[0], once[1], once[2]);
            }
        }
        return rows[0];
    }

    /// Adds up what the paths from the left, from above and from the right add to the costs of a row.
    std::vector<Sums> addUp(int y, const std::vector<Sums>& costs, const std::vector<Sums>& above) const
    {
        std::vector<Sums> totals =
            above; // the cost counts twice: with the path from above and that from the left
        for (const int side : {1, -1}) {
            Sums sums = start();
            for (int i = 0; i < _pair.width; ++i) {
                const int x = side > 0 ? i : _pair.width - 1 - i;
                const auto place = static_cast<std::size_t>(x);
                sums = extend(sums,
                              costs[place],
                              _settings.smallStep,
                              findLargeStep(x, y, std::clamp(x - side, 0, _pair.width - 1), y));
                for (std::size_t j = 0; j < sums.size(); ++j) {
                    totals[place][j] =
                        std::min(totals[place][j] + sums[j] - (side > 0 ? 0 : costs[place][j]), 255);
                }
            }
        }
        return totals;
    }

    void judge(int y, const std::vector<Sums>& totals) const
    {
        const auto width = static_cast<std::size_t>(_pair.width);
        std::vector<std::uint16_t> steps(width);
        std::vector<std::uint8_t> bytes(5 * width);
        const Choices choices{steps.data(),
                              bytes.data(),
                              bytes.data() + width,
                              bytes.data() + 2 * width,
                              bytes.data() + 3 * width,
                              bytes.data() + 4 * width};
        for (int x = 0; x < _pair.width; ++x) {
            choose(x, totals, choices);
        }
        judgeRow(_pair, choices, y);
    }

    bool changes(int x, int y) const
    {
        return _left.at(x, y) != _left.at(x - 1, y) || _left.at(x, y) != _left.at(x, y - 1);
    }

    bool isFlat(int x, int y) const
    {
        for (int row = std::max(y - flatRadius, 0); row <= std::min(y + flatRadius, _pair.height - 1);
             ++row) {
            for (int dx = -flatRadius; dx <= flatRadius; ++dx) {
                if (changes(std::clamp(x + dx, 0, _pair.width - 1), row)) {
                    return false;
                }
            }
        }
        return true;
    }

    void dropFlat(int y) const
    {
        for (int x = 0; x < _pair.width; ++x) {
            std::int16_t& disparity = _pair.disparity[std::ptrdiff_t{y} * _pair.width + x];
            disparity = isFlat(x, y) ? noMatch : disparity;
        }
    }

    int total(const std::vector<Sums>& totals, int x, int step) const
    {
        const bool isInside = 0 <= x && x < _pair.width && 0 <= step && step < _pair.steps;
        return isInside ? totals[static_cast<std::size_t>(x)][static_cast<std::size_t>(step)] : 255;
    }

    void choose(int x, const std::vector<Sums>& totals, const Choices& choices) const
    {
        const Sums& sums = totals[static_cast<std::size_t>(x)];
        const int best = static_cast<int>(std::min_element(sums.begin(), sums.end()) - sums.begin());
        int second = 255;
        int rightLeast = 255;
        for (int i = 0; i < _pair.steps; ++i) {
            second = std::abs(i - best) > 1 ? std::min(second, total(totals, x, i)) : second;
            rightLeast = std::min(rightLeast, total(totals, x - best + i, i));
        }
        const int onDiagonal = std::min(
            {total(totals, x, best), total(totals, x - 1, best - 1), total(totals, x + 1, best + 1)});
        choices.step[x] = static_cast<std::uint16_t>(best);
        choices.before[x] = static_cast<std::uint8_t>(total(totals, x, best - 1));
        choices.least[x] = static_cast<std::uint8_t>(total(totals, x, best));
        choices.after[x] = static_cast<std::uint8_t>(total(totals, x, best + 1));
        choices.second[x] = static_cast<std::uint8_t>(second);
        choices.contradiction[x] = static_cast<std::uint8_t>(onDiagonal - rightLeast);
    }

    const Pair& _pair;
    const Settings& _settings;
    Image _left;
    Image _right;
};

int smoothThree(int before, int here, int after)
{
    return average(average(average(before, after), here), here);
}

void smoothImage(const Plane& image, const Pair& pair, const Rows& rows, bool isMirrored, const Plane& smooth)
{
    for (int y = rows.first; y < rows.behindLast; ++y) {
        const auto smoothVertically = [&](int x) {
            const int column = std::clamp(x, 0, pair.width - 1);
            const auto at = [&](int row) {
                return int{image.row(std::clamp(row, 0, pair.height - 1))[column]};
            };
            return smoothThree(at(y - 1), at(y), at(y + 1));
        };
        for (int x = 0; x < pair.width; ++x) {
            smooth.row(y)[isMirrored ? pair.width - 1 - x : x] = static_cast<std::uint8_t>(
                smoothThree(smoothVertically(x - 1), smoothVertically(x), smoothVertically(x + 1)));
        }
    }
}

void smooth(const Pair& pair, const Rows& rows, const Workspace& /*memory*/)
{
    smoothImage(pair.left, pair, rows, false, pair.smoothLeft);
    smoothImage(pair.right, pair, rows, true, pair.smoothRight);
}

void match(const Pair& pair, const Rows& rows, const Workspace& /*memory*/)
{
    Definition(pair).match(rows);
}

} // namespace

extern const Implementation definition;
const Implementation definition{"plain", [] { return true; }, smooth, match};

} // namespace vision::toolkit::semi_global
