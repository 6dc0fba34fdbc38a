// SPDX-License-Identifier: Apache-2.0
#include "options/run_options.h"

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

namespace tool {

void addRunOptions(CLI::App& app, RunOptions& options)
{
    constexpr const char* group = "Sequences";
    constexpr unsigned mostJobs = 1024;
    options.jobs = std::clamp(std::thread::hardware_concurrency(), 1U, mostJobs);
    app.add_option("--jobs", options.jobs, "Pairs processed at the same time; results do not depend on it")
        ->check(CLI::Range(1U, mostJobs))
        ->default_str("one per core")
        ->type_name("N")
        ->group(group);
    const auto setShard = [&options](const std::vector<std::size_t>& parts) {
        const bool isShard = parts.size() == 2 && 1 <= parts.front() && parts.front() <= parts.back();
        if (!isShard) {
            throw CLI::ValidationError("--shard",
                                       "give the number of this part and of all parts, such as 2/8");
        }
        options.shard = {parts.front(), parts.back()};
    };
    app.add_option_function<std::vector<std::size_t>>(
           "--shard",
           setShard,
           "Process part K of N of the pairs, for several machines: every N-th from the K-th on")
        ->delimiter('/')
        ->type_name("K/N")
        ->group(group);
}

} // namespace tool
