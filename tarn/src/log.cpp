// SPDX-License-Identifier: Apache-2.0
#include "sink.h"

#include <tarn/log.h>

namespace tarn::log {

void log(LogLevel level, detail::Category* category, const std::string& message, const char* file,
         const char* function, int line) noexcept
{
    if (!category) {
        return;
    }
    try {
        (*currentSink())(
            {std::chrono::system_clock::now(), level, category->name, message, file, function, line});
    } catch (...) { // NOLINT(bugprone-empty-catch): there is nobody left to tell
    }
}

LogStream::LogStream(LogLevel level, const char* file, const char* function, int line,
                     detail::Category* category)
    : _level(level), _file(file), _function(function), _line(line), _category(category)
{
}

LogStream::~LogStream()
{
    try {
        log(_level, _category, str(), _file, _function, _line);
    } catch (
        ...) { // NOLINT(bugprone-empty-catch): memory for the text ran out, and a destructor must not throw
    }
}

} // namespace tarn::log
