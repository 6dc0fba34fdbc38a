// SPDX-License-Identifier: Apache-2.0
#include "parallel/thread_limit.h"

#include <algorithm>
#include <exception>
#include <future>
#include <memory>
#include <new>
#include <thread>
#include <vector>

namespace vision::toolkit {

namespace {

/// Starts so many threads besides the calling one and ends them again. Each allocates, as working threads do:
/// what the allocator reserves for a thread may be what is missing for the next.
/// @return how many there were at once, with the calling one
unsigned countStartable(unsigned wanted)
{
    std::promise<void> end;
    const std::shared_future<void> ended = end.get_future().share();
    std::vector<std::thread> threads;
    threads.reserve(wanted);
    try {
        while (threads.size() + 1 < wanted) {
            const auto begun = std::make_shared<std::promise<void>>();
            threads.emplace_back([begun, ended] {
                const std::unique_ptr<char[]> memory(new (std::nothrow) char[1000]);
                begun->set_value();
                ended.wait();
            });
            begun->get_future().wait();
        }
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): go on with those there are
    }
    end.set_value();
    for (std::thread& thread : threads) {
        thread.join();
    }
    return static_cast<unsigned>(threads.size()) + 1;
}

/// Where the system is short of threads, half of those there could be leave room for what they work on.
unsigned chooseThreads(unsigned wanted)
{
    const unsigned startable = countStartable(wanted);
    return startable == wanted ? wanted : std::max(startable / 2, 1U);
}

} // namespace

ThreadLimit::ThreadLimit(unsigned wanted)
    : _threads(chooseThreads(std::max(wanted, 1U))),
      _control(tbb::global_control::max_allowed_parallelism, _threads)
{
}

} // namespace vision::toolkit
