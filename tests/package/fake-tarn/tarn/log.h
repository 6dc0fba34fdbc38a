// SPDX-License-Identifier: Apache-2.0
/// A host's own log service with just what the library uses. FAKE_TARN_VARIANT selects at compile time how it
/// is declared, the environment variable FAKE_TARN at run time how it fails.
#ifndef TARN_LOG_H
#define TARN_LOG_H

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#if FAKE_TARN_VARIANT == 1
#define FAKE_TARN_ENUM enum class
#define FAKE_TARN_LEVEL LogLevel
#else
#define FAKE_TARN_ENUM enum
#define FAKE_TARN_LEVEL std::atomic<LogLevel>
#endif

namespace tarn {

FAKE_TARN_ENUM LogLevel : int{Nothing = 0, Error = 2, Verbose = 5};

namespace log {
namespace detail {
struct Category
{
    std::string name;
    FAKE_TARN_LEVEL level;
};
} // namespace detail

inline bool fails(const std::string& how)
{
    const char* const variable = std::getenv("FAKE_TARN");
    return variable && how == variable;
}

inline detail::Category* addCategory(const std::string& name)
{
    return fails("null") ? nullptr : new detail::Category{name, {LogLevel::Verbose}};
}

inline void log(LogLevel level, detail::Category* category, const std::string& message, const char* file,
                const char* function, int line)
{
    std::fprintf(stderr,
                 "%d %s %s %s:%d %s\n",
                 static_cast<int>(level),
                 category->name.c_str(),
                 function,
                 file,
                 line,
                 message.c_str());
    if (fails("throw")) {
        throw std::runtime_error("the host cannot log");
    }
}

} // namespace log
} // namespace tarn

#endif
