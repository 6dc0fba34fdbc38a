// SPDX-License-Identifier: Apache-2.0
/// How the library logs: one record per event through the host's log service, and refusals that are logged
/// and then thrown.
#ifndef VISION_LOG_H
#define VISION_LOG_H

#include <tarn/log.h>

#include <atomic>
#include <locale>
#include <sstream>
#include <string>

namespace vision::detail {

using LogCategory = tarn::log::detail::Category;

/// Reads the level of a category, which some hosts keep in an atomic.
template <typename Level>
Level readLevel(const Level& level)
{
    return level;
}

template <typename Level>
Level readLevel(const std::atomic<Level>& level)
{
    return level.load();
}

/// Whether the category exists and admits records of this level.
inline bool isLogged(const LogCategory* category, tarn::LogLevel level)
{
    return category && static_cast<tarn::LogLevel>(readLevel(category->level)) >= level;
}

/// Joins text and values with nothing between them; integers in decimal whatever the global locale.
template <typename... Pieces>
std::string joinText(const Pieces&... pieces)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    (text << ... << pieces);
    return text.str();
}

/// Emits one record. A failure of the log service ends here: it must not change what the caller gets.
inline void emitRecord(tarn::LogLevel level, LogCategory* category, const char* function,
                       const std::string& text) noexcept
{
    try {
        tarn::log::log(level, category, text, "", function, 0);
    } catch (...) { // NOLINT(bugprone-empty-catch)
    }
}

/// Joins and emits the pieces if the category admits the level; otherwise builds nothing. When memory for the
/// text runs out, the record is lost, but never the exception or result that the caller is owed.
template <typename... Pieces>
void logRecord(tarn::LogLevel level, LogCategory* category, const char* function,
               const Pieces&... pieces) noexcept
{
    if (!isLogged(category, level)) {
        return;
    }
    try {
        emitRecord(level, category, function, joinText(pieces...));
    } catch (...) { // NOLINT(bugprone-empty-catch)
    }
}

/// Logs the pieces as one error record, then throws the exception with its fixed text.
template <typename Exception, typename... Pieces>
[[noreturn]] void refuse(LogCategory* category, const char* function, const char* thrownText,
                         const Pieces&... loggedPieces)
{
    logRecord(tarn::LogLevel::Error, category, function, loggedPieces...);
    throw Exception(thrownText);
}

/// Refuses with the same text in the log record and in the exception.
template <typename Exception>
[[noreturn]] void refuse(LogCategory* category, const char* function, const char* text)
{
    refuse<Exception>(category, function, text, text);
}

} // namespace vision::detail

#endif
