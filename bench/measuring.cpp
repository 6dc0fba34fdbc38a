// SPDX-License-Identifier: Apache-2.0
#include "measuring.h"

#include <algorithm>
#include <chrono>

namespace measuring {

namespace {

double timeOf(const std::function<void()>& run)
{
    const auto start = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

Spread spreadOf(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const auto at = [&](std::size_t quarter) { return values[(values.size() - 1) * quarter / 4]; };
    return {at(2), at(1), at(3)};
}

heap::Usage heapOf(const std::function<void()>& run)
{
    run(); // the first call may fill a cache
    heap::startCounting();
    run();
    return heap::stopCounting();
}

} // namespace

std::vector<Result> compare(const std::vector<Contender>& contenders, int rounds,
                            const std::function<void()>& prepare)
{
    const std::size_t count = contenders.size();
    std::vector<Result> results;
    results.reserve(count);
    for (const Contender& contender : contenders) {
        results.push_back({contender.name, {}, {}, heapOf(contender.run)});
    }
    std::vector<std::vector<double>> times(count);
    std::vector<std::vector<double>> ratios(count);
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t turn = 0; turn < count; ++turn) {
            const std::size_t i = (turn + static_cast<std::size_t>(round)) % count;
            if (prepare) {
                prepare();
            }
            times[i].push_back(timeOf(contenders[i].run));
        }
        for (std::size_t i = 0; i < count; ++i) {
            ratios[i].push_back(times[i].back() / times[0].back());
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        results[i].milliseconds = spreadOf(times[i]);
        results[i].ratio = spreadOf(ratios[i]);
    }
    return results;
}

} // namespace measuring
