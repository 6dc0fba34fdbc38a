// SPDX-License-Identifier: Apache-2.0
#include "matching/semi_global/judgement.h"

#include "matching/semi_global/confidence.h"

#include <array>

namespace vision::toolkit::semi_global {

namespace {

constexpr int fractionBits = 16;

/// Half a pixel in units by each curvature of a parabola, with a fraction.
std::array<int, 511> divideByCurvatures()
{
    constexpr int halfPixel = (unitsPerPixel / 2) << fractionBits;
    std::array<int, 511> quotients{};
    for (int curvature = 1; curvature < 511; ++curvature) {
        quotients[static_cast<std::size_t>(curvature)] = (halfPixel + curvature / 2) / curvature;
    }
    return quotients;
}

const std::array<int, 511> byCurvature = divideByCurvatures();

/// The minimum of the parabola through the totals at a match and beside it, in units from the match.
int interpolate(int before, int least, int after)
{
    const int curvature = before + after - 2 * least;
    return ((before - after) * byCurvature[static_cast<std::size_t>(curvature)] +
            (1 << (fractionBits - 1))) >>
           fractionBits;
}

} // namespace

void judgeRow(const Pair& pair, const Choices& choices, int y)
{
    const Settings& settings = pair.settings;
    const std::uint8_t* const leftValid = pair.leftValid.first == nullptr ? nullptr : pair.leftValid.row(y);
    const std::uint8_t* const rightValid =
        pair.rightValid.first == nullptr ? nullptr : pair.rightValid.row(y);
    std::int16_t* const out = pair.disparity + std::ptrdiff_t{y} * pair.width;
    std::uint8_t* const evidence = pair.evidence + std::ptrdiff_t{y} * pair.width;
    for (int x = 0; x < pair.width; ++x) {
        const int step = choices.step[x];
        const int disparity = settings.minDisparity + step;
        const int partner = x - disparity;
        const bool isInside = step > 0 && step + 1 < settings.disparities;
        const int fraction =
            isInside ? interpolate(choices.before[x], choices.least[x], choices.after[x]) : 0;
        const bool holds = (step < settings.disparities) & (partner >= 0) & (partner < pair.width) &
                           (choices.contradiction[x] <= pair.largestContradiction);
        out[x] = static_cast<std::int16_t>(holds ? disparity * unitsPerPixel + fraction : noMatch);
        evidence[x] = gradeMatch(choices.least[x], choices.second[x] - choices.least[x]);
        if (holds && ((leftValid != nullptr && leftValid[x] == 0) ||
                      (rightValid != nullptr && rightValid[partner] == 0))) {
            out[x] = noMatch;
        }
    }
}

} // namespace vision::toolkit::semi_global
