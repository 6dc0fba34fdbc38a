// SPDX-License-Identifier: Apache-2.0
#include "parallel/run.h"

#include "parallel/thread_limit.h"

#include <tbb/parallel_pipeline.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <thread>

namespace vision::toolkit {

void runInOrder(const std::vector<std::size_t>& items, unsigned workers,
                const std::function<Work(std::size_t item)>& take)
{
    constexpr std::size_t mostPerWorker = 3; // items that are begun and not yet delivered
    const auto most = std::min<std::size_t>(std::max(workers, 1U), items.size());
    if (most == 0) {
        return;
    }
    // An item may use the cores that the items leave, with OpenCV or a matcher of its own.
    const ThreadLimit limit(std::max(static_cast<unsigned>(most), std::thread::hardware_concurrency()));
    std::size_t next = 0;
    const auto begin = [&](tbb::flow_control& control) -> Work {
        if (next == items.size()) {
            control.stop();
            return {};
        }
        return take(items[next++]);
    };
    tbb::task_arena arena(static_cast<int>(std::min(static_cast<unsigned>(most), limit.threads())));
    arena.execute([&] {
        tbb::parallel_pipeline(
            mostPerWorker * most,
            tbb::make_filter<void, Work>(tbb::filter_mode::serial_in_order, begin) &
                tbb::make_filter<Work, Deliver>(tbb::filter_mode::parallel,
                                                [](const Work& work) { return work(); }) &
                tbb::make_filter<Deliver, void>(tbb::filter_mode::serial_in_order,
                                                [](const Deliver& deliver) { deliver(); }));
    });
}

} // namespace vision::toolkit
