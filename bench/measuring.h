// SPDX-License-Identifier: Apache-2.0
/// Times several ways to do the same work in turns, so that a busy machine slows all of them alike.
#ifndef BENCH_MEASURING_H
#define BENCH_MEASURING_H

#include "heap.h"

#include <functional>
#include <string>
#include <vector>

namespace measuring {

struct Contender
{
    std::string name;
    std::function<void()> run;
};

/// Median and quartiles.
struct Spread
{
    double median;
    double low;
    double high;
};

struct Result
{
    std::string name;
    Spread milliseconds;
    Spread ratio; ///< this contender's time over the first one's in the same round
    heap::Usage heap;
};

/// Runs every contender once per round, each round in another order.
/// @param prepare runs before every contender, untimed
std::vector<Result> compare(const std::vector<Contender>& contenders, int rounds,
                            const std::function<void()>& prepare = {});

} // namespace measuring

#endif
