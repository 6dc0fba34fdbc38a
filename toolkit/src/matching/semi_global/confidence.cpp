// SPDX-License-Identifier: Apache-2.0
#include "matching/semi_global/confidence.h"

namespace vision::toolkit::semi_global {

namespace {

/// Odds of a right match, at most 2 px off, fitted to all pairs of known disparity: the product of both. A
/// low total says most; the margin counts where it is large.
struct Grade
{
    int below; ///< total or margin
    float odds;
};

constexpr Grade ofTotals[] = {{11, 430},    {14, 312},    {17, 286},    {20, 249},    {24, 215},
                              {28, 158},    {33, 141},    {38, 112},    {44, 74.3f},  {50, 57.5f},
                              {57, 37.7f},  {64, 30.4f},  {72, 26.1f},  {80, 21.9f},  {90, 17.4f},
                              {100, 14.9f}, {115, 11.9f}, {130, 11.2f}, {150, 10.4f}, {256, 9.7f}};
constexpr Grade ofMargins[] = {{6, 0.539f},
                               {18, 0.558f},
                               {32, 0.626f},
                               {42, 0.698f},
                               {54, 0.776f},
                               {62, 0.85f},
                               {70, 0.976f},
                               {80, 1.161f},
                               {90, 1.302f},
                               {110, 2.034f},
                               {256, 5.298f}};
constexpr int margins = static_cast<int>(std::size(ofMargins));
static_assert(std::size(ofTotals) * std::size(ofMargins) <= 256);

using Places = std::array<std::uint8_t, 256>;

/// Where each value belongs, times a factor.
template <std::size_t count>
Places findPlaces(const Grade (&grades)[count], int factor)
{
    Places places{};
    int place = 0;
    for (int value = 0; value < 256; ++value) {
        place += value == grades[place].below ? 1 : 0;
        places[static_cast<std::size_t>(value)] = static_cast<std::uint8_t>(place * factor);
    }
    return places;
}

std::array<float, 256> findShares()
{
    std::array<float, 256> shares{};
    std::size_t i = 0;
    for (const Grade& total : ofTotals) {
        for (const Grade& margin : ofMargins) {
            const float odds = total.odds * margin.odds;
            shares[i++] = odds / (1 + odds);
        }
    }
    return shares;
}

const Places placesOfTotals = findPlaces(ofTotals, margins);
const Places placesOfMargins = findPlaces(ofMargins, 1);
const std::array<float, 256> shares = findShares();

} // namespace

std::uint8_t gradeMatch(int total, int margin)
{
    return static_cast<std::uint8_t>(placesOfTotals[static_cast<std::size_t>(total)] +
                                     placesOfMargins[static_cast<std::size_t>(margin)]);
}

const std::array<float, 256>& shareOfRightMatches()
{
    return shares;
}

} // namespace vision::toolkit::semi_global
