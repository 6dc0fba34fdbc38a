// SPDX-License-Identifier: Apache-2.0
#include "options/run_options.h"

#include "options/numbers.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <thread>

namespace tool {

namespace {

constexpr int mostJobs = 1024;
constexpr int mostShards = 1'000'000;

} // namespace

void addRunOptions(CLI::App& app, RunOptions& options)
{
    constexpr const char* group = "Sequences";
    options.jobs = std::clamp(std::thread::hardware_concurrency(), 1U, unsigned{mostJobs});
    takeWhole(app.add_option("--jobs",
                             options.jobs,
                             "Pairs processed at the same time, 1 to 1024; results do not depend on it"),
              1,
              mostJobs)
        ->default_str("one per core")
        ->type_name("N")
        ->group(group);
    const auto setShard = [&options](const std::string& text) {
        const auto part = parseTwo(text, '/', mostShards);
        if (!part || part->first > part->second) {
            throw CLI::ValidationError(
                "--shard",
                fmt::format("\"{}\": give the number of this part and of all parts, at most "
                            "{}, such as 2/8",
                            text,
                            mostShards));
        }
        options.shard = {static_cast<std::size_t>(part->first), static_cast<std::size_t>(part->second)};
    };
    app.add_option_function<std::string>(
           "--shard",
           setShard,
           "Process part K of N of the pairs, for several machines: every N-th from the K-th on")
        ->type_name("K/N")
        ->group(group);
}

} // namespace tool
