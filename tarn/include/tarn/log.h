// SPDX-License-Identifier: Apache-2.0
/// @file
/// The log service: numbered levels, named categories and records.
///
/// A category admits a record when its level is at least the record's level. Callers test that themselves
/// (`category->level >= level`) before they build a text; log() emits whatever it is given.
/// All functions may be called from several threads at once, during static initialisation and destruction.
#ifndef TARN_LOG_H
#define TARN_LOG_H

#include <tarn/export.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <sstream>
#include <string>

namespace tarn {

/// How detailed a record is; a larger number is more detailed.
enum class LogLevel : int
{
    None = 0,
    Fatal = 1,
    Error = 2,
    Warning = 3,
    Info = 4,
    Verbose = 5,
    Debug = 6,
};

namespace log {

namespace detail {

/// A named source of records. Lives until the process ends.
struct Category
{
    const std::string name;
    std::atomic<LogLevel> level; ///< the most detailed level that is admitted; None admits nothing
};

} // namespace detail

/// One emitted record as a sink receives it. The references are valid during the call of the sink only.
struct Record
{
    std::chrono::system_clock::time_point time;
    LogLevel level = LogLevel::None;
    const std::string& category;
    const std::string& message;
    const char* file = "";     ///< source file
    const char* function = ""; ///< emitting function
    int line = 0;              ///< source line, 0 when unknown
};

/// Receives records; may be called from several threads at once.
using Sink = std::function<void(const Record&)>;

/// Returns the category of this name and registers it on first use.
///
/// The same name always gives the same handle, valid for the life of the process. A new category starts at
/// LogLevel::Error unless the environment variable `TARN_LOG` says otherwise: a comma-separated list of
/// `LEVEL` (for every category) and `NAME=LEVEL`, with levels as numbers 0 to 6. Anything else in it is
/// reported once on stderr and ignored.
/// @throws std::bad_alloc when memory is exhausted
TARN_EXPORT detail::Category* addCategory(const std::string& name);

/// Sets the level of a category, which is registered first if need be.
/// @throws std::bad_alloc when memory is exhausted
TARN_EXPORT void setLevel(const std::string& categoryName, LogLevel level);

/// Replaces the sink that receives all records; an empty sink brings back the default, which writes time,
/// level, category, function and text to stderr.
/// @throws std::bad_alloc when memory is exhausted
TARN_EXPORT void setSink(Sink sink);

/// Emits one record to the sink, whatever the category's level. Does nothing for a null category.
/// An exception from the sink ends here: logging never changes what the caller does.
TARN_EXPORT void log(LogLevel level, detail::Category* category, const std::string& message, const char* file,
                     const char* function, int line) noexcept;

/// Collects the text of one record by stream insertion and emits it through log() when it is destroyed.
class TARN_EXPORT LogStream : public std::ostringstream
{
public:
    LogStream(LogLevel level, const char* file, const char* function, int line, detail::Category* category);
    LogStream(const LogStream&) = delete;
    LogStream& operator=(const LogStream&) = delete;
    ~LogStream() override;

private:
    LogLevel _level;
    const char* _file;
    const char* _function;
    int _line;
    detail::Category* _category;
};

} // namespace log
} // namespace tarn

#endif
