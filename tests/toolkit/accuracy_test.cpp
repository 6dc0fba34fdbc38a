// SPDX-License-Identifier: Apache-2.0
#include "measures.h"
#include "test_pairs.h"

#include <gtest/gtest.h>

using namespace accuracy;
using vision::toolkit::Algorithm;

namespace {

/// The least that the defaults must reach on photographs. It leaves room for other versions of OpenCV.
struct Aim
{
    Algorithm algorithm;
    double density;
    double bad;
    double average;
    int corners;
    int off;
};

TEST(Accuracy, OfTheDefaultsHoldsOverPhotographsOfAnySize)
{
    const TestSet aloe = loadAloe(STEREOVISION_IMAGE_DIR);
    const TestSet boards = loadBoards(STEREOVISION_IMAGE_DIR);
    for (const Aim& aim :
         {Aim{Algorithm::Sgm, 0.835, 0.016, 0.78, 665, 4}, {Algorithm::Bm, 0.75, 0.03, 0.95, 610, 14}}) {
        vision::toolkit::MatcherSettings settings;
        settings.algorithm = aim.algorithm;
        const auto matchSet = [&](const TestSet& set) {
            return matchAll(set, findRanges(set), settings, false);
        };
        const Score plant = score(aloe, matchSet(aloe), 1);
        EXPECT_GE(plant.density, aim.density);
        EXPECT_LE(plant.bad, aim.bad);
        EXPECT_LE(plant.average, aim.average);
        const auto full = matchSet(boards);
        const Score chessboard = score(boards, full, 1);
        EXPECT_GE(chessboard.corners, aim.corners);
        EXPECT_LE(chessboard.off, aim.off);
        for (const int divisor : {2, 4}) {
            const TestSet smaller = shrink(boards, divisor);
            const auto disparities = matchSet(smaller);
            EXPECT_GE(score(smaller, disparities, divisor).matched, chessboard.matched);
            EXPECT_LE(compareSizes(full, disparities).perPixel, 0.01);
        }
    }
}

} // namespace
