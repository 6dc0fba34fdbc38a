// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_CREW_H
#define VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_CREW_H

#include "matching/semi_global/stripe.h"
#include "matching/semi_global/workspace.h"

#include <tbb/info.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace vision::toolkit::semi_global {

/// The stripes of an image and the threads that go through them.
///
/// The stripes depend on the height alone, so that the result is the same for any number of threads.
class Crew
{
public:
    void prepare(const Pair& pair, int wantedThreads)
    {
        const int threads = std::min(wantedThreads, tbb::info::default_concurrency()); // TBB has no more
        constexpr int usualHeight = 140; // rows: few of them are needed to warm up
        _height = pair.height;
        _stripes = 2 * ((pair.height + 2 * usualHeight - 1) / (2 * usualHeight)); // two threads share evenly
        if (threads != _threads) {
            _arena = threads > 1 ? std::make_unique<tbb::task_arena>(threads) : nullptr;
            _threads = threads;
        }
        _memory.resize(static_cast<std::size_t>(threads));
        _workspaces.clear();
        for (WorkspaceMemory& memory : _memory) {
            _workspaces.push_back(memory.prepare(pair, _height / _stripes + 1));
        }
    }

    int stripes() const { return _stripes; }

    /// Calls function(rows, stripe, workspace) for each stripe, in any order.
    template <typename Function>
    void forEachStripe(const Function& function)
    {
        const auto run = [&](int stripe, int thread) {
            const Rows rows{_height * stripe / _stripes, _height * (stripe + 1) / _stripes};
            if (rows.first < rows.behindLast) {
                function(rows, stripe, _workspaces[static_cast<std::size_t>(thread)]);
            }
        };
        if (_arena == nullptr) {
            for (int stripe = 0; stripe < _stripes; ++stripe) {
                run(stripe, 0);
            }
            return;
        }
        _arena->execute([&] {
            tbb::parallel_for(
                0,
                _stripes,
                [&](int stripe) { run(stripe, tbb::this_task_arena::current_thread_index()); },
                tbb::simple_partitioner());
        });
    }

private:
    int _height = 0;
    int _stripes = 0;
    int _threads = 0;
    std::unique_ptr<tbb::task_arena> _arena;
    std::vector<WorkspaceMemory> _memory; ///< of each thread
    std::vector<Workspace> _workspaces;
};

} // namespace vision::toolkit::semi_global

#endif
