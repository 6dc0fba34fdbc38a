// SPDX-License-Identifier: Apache-2.0
#include "parallel/run.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/sequence/shard.h>

#include <gtest/gtest.h>
#include <opencv2/core/utility.hpp>

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <numeric>
#include <stdexcept>
#include <thread>

using namespace vision::toolkit;

namespace {

std::vector<std::size_t> countTo(std::size_t end)
{
    std::vector<std::size_t> items(end);
    std::iota(items.begin(), items.end(), std::size_t{0});
    return items;
}

TEST(Sequence, BeginsAndDeliversInOrderWithBoundedWork)
{
    for (const unsigned workers : {1U, 2U, 5U, 40U}) {
        std::vector<std::size_t> begun, delivered;
        std::atomic<int> open{0};
        int mostOpen = 0;
        const int threads = cv::getNumThreads();
        runInOrder(countTo(30), workers, [&](std::size_t item) -> Work {
            begun.push_back(item);
            mostOpen = std::max(mostOpen, ++open);
            return [&, item]() -> Deliver {
                std::this_thread::sleep_for(std::chrono::microseconds(item % 7 == 0 ? 2000 : 50));
                return [&, item] {
                    --open;
                    delivered.push_back(item);
                };
            };
        });
        EXPECT_EQ(begun, countTo(30));
        EXPECT_EQ(delivered, countTo(30));
        EXPECT_LE(mostOpen, 3 * static_cast<int>(workers));
        EXPECT_EQ(cv::getNumThreads(), threads); // nothing of OpenCV is changed
    }
}

TEST(Sequence, StopsWhereACallThrows)
{
    for (const int failing : {0, 1, 2}) { // taking, working, delivering
        std::vector<std::size_t> delivered;
        const auto failAt = [&](int step, std::size_t item) {
            if (step == failing && item == 5) {
                throw std::runtime_error("disk full");
            }
        };
        const auto run = [&] {
            runInOrder(countTo(1000), 3, [&](std::size_t item) -> Work {
                failAt(0, item);
                return [&, item]() -> Deliver {
                    failAt(1, item);
                    return [&, item] {
                        failAt(2, item);
                        delivered.push_back(item);
                    };
                };
            });
        };
        EXPECT_THROW(run(), std::runtime_error);
        const auto expected = countTo(5);
        ASSERT_LE(delivered.size(), expected.size());
        EXPECT_TRUE(std::equal(delivered.begin(), delivered.end(), expected.begin()));
    }
}

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define NEEDS_ADDRESS_SPACE // a sanitizer maps more than any limit leaves
#endif
#endif

#ifndef NEEDS_ADDRESS_SPACE
[[noreturn]] void runWithHardlyAnyThreads()
{
    constexpr rlim_t room = rlim_t{400} << 20; // bytes of address space: for a few stacks, not for forty
    const rlimit limit{room, room};
    std::size_t done = 0;
    if (setrlimit(RLIMIT_AS, &limit) == 0) {
        runInOrder(countTo(50), 40, [&](std::size_t) -> Work { return [&] { return [&] { ++done; }; }; });
    }
    std::_Exit(done == 50 ? 0 : 1);
}

TEST(SequenceDeathTest, GoesOnWithTheThreadsThatCanBeStarted)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(runWithHardlyAnyThreads(), testing::ExitedWithCode(0), "");
}
#endif

TEST(Sequence, IsCoveredByItsShards)
{
    std::vector<std::size_t> all;
    for (std::size_t number = 1; number <= 4; ++number) {
        const auto items = selectShard(10, {number, 4});
        EXPECT_TRUE(std::is_sorted(items.begin(), items.end()));
        all.insert(all.end(), items.begin(), items.end());
    }
    EXPECT_EQ(all[1], 4U);
    std::sort(all.begin(), all.end());
    EXPECT_EQ(all, countTo(10));
    for (const Shard wrong : {Shard{1, 0}, {0, 3}, {4, 3}}) {
        EXPECT_THROW((void)selectShard(10, wrong), Failure);
    }
}

} // namespace
