// SPDX-License-Identifier: Apache-2.0
#include "sink.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <atomic>
#include <memory>

namespace tarn::log {

namespace {

const char* levelName(LogLevel level)
{
    switch (level) {
    case LogLevel::None:
        return "none";
    case LogLevel::Fatal:
        return "fatal";
    case LogLevel::Error:
        return "error";
    case LogLevel::Warning:
        return "warning";
    case LogLevel::Info:
        return "info";
    case LogLevel::Verbose:
        return "verbose";
    case LogLevel::Debug:
        return "debug";
    }
    return "unknown";
}

/// Writes "time level category function: text" lines to stderr.
class StderrSink
{
public:
    StderrSink() : _logger(std::make_shared<spdlog::logger>("tarn", makeSpdlogSink())) {}

    void operator()(const Record& record) const
    {
        // Our own level names go into the text: spdlog's six do not match ours.
        _logger->log(
            record.time,
            {},
            spdlog::level::critical,
            fmt::format(
                "{} {} {}: {}", levelName(record.level), record.category, record.function, record.message));
    }

private:
    static spdlog::sink_ptr makeSpdlogSink()
    {
        auto sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
        sink->set_pattern("%Y-%m-%d %H:%M:%S.%e %v");
        return sink;
    }

    std::shared_ptr<spdlog::logger> _logger;
};

/// Read and written atomically. Never destroyed, for the same reason as the registry of categories.
std::shared_ptr<const Sink>& sharedSink()
{
    static auto& sink = *new std::shared_ptr<const Sink>(std::make_shared<const Sink>(StderrSink()));
    return sink;
}

} // namespace

std::shared_ptr<const Sink> currentSink()
{
    return std::atomic_load(&sharedSink());
}

void setSink(Sink sink)
{
    auto next = std::make_shared<const Sink>(sink ? std::move(sink) : Sink(StderrSink()));
    std::atomic_store(&sharedSink(), std::move(next));
}

} // namespace tarn::log
