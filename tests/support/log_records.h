/// What a test expects of the log, and of a refusal: exception, text and records together.
#ifndef SUPPORT_LOG_RECORDS_H
#define SUPPORT_LOG_RECORDS_H

#include <tarn/log.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace support {

/// Records in the form "LEVEL CATEGORY FUNCTION FILE:LINE TEXT".
using LogEntries = std::vector<std::string>;

/// The library gives every record an empty file and line 0.
inline std::string logEntry(tarn::LogLevel level, const std::string& category, const std::string& function,
                            const std::string& text, const std::string& file = "", int line = 0)
{
    return std::to_string(static_cast<int>(level)) + ' ' + category + ' ' + function + ' ' + file + ':' +
           std::to_string(line) + ' ' + text;
}

inline std::string stereoError(const std::string& function, const std::string& text)
{
    return logEntry(tarn::LogLevel::Error, "vision.stereo", function, text);
}

inline std::string stereoVerbose(const std::string& function, const std::string& text)
{
    return logEntry(tarn::LogLevel::Verbose, "vision.stereo", function, text);
}

inline std::string calibrationError(const std::string& function, const std::string& text)
{
    return logEntry(tarn::LogLevel::Error, "vision.stereo.calibration", function, text);
}

/// Collects the records of the library, up to a level, while it lives.
class RecordedLog
{
public:
    explicit RecordedLog(tarn::LogLevel level = tarn::LogLevel::Verbose)
    {
        tarn::log::setLevel("vision.stereo", level);
        tarn::log::setLevel("vision.stereo.calibration", level);
        tarn::log::setSink([this](const tarn::log::Record& r) {
            _entries.push_back(logEntry(r.level, r.category, r.function, r.message, r.file, r.line));
        });
    }
    RecordedLog(const RecordedLog&) = delete;
    RecordedLog& operator=(const RecordedLog&) = delete;
    ~RecordedLog() { tarn::log::setSink({}); }

    LogEntries take() { return std::exchange(_entries, {}); }

private:
    LogEntries _entries;
};

/// Expects an exception of exactly this type and returns its text.
template <typename Exception, typename Call>
std::string textThrownBy(const Call& call)
{
    try {
        call();
    } catch (const std::exception& error) {
        EXPECT_EQ(typeid(error), typeid(Exception)) << error.what();
        return error.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

/// For refusals by OpenCV, whose text is its own affair.
constexpr std::nullopt_t anyText = std::nullopt;

/// Expects the exception both with silenced categories and, together with the records, at error level.
/// So the call is made twice: a refused call must leave things as they were.
template <typename Exception, typename Call>
void expectRefusal(const Call& call, const std::optional<std::string>& thrownText, const LogEntries& entries)
{
    for (const auto level : {tarn::LogLevel::None, tarn::LogLevel::Error}) {
        RecordedLog log(level);
        const std::string text = textThrownBy<Exception>(call);
        EXPECT_EQ(text, thrownText.value_or(text));
        EXPECT_EQ(log.take(), level == tarn::LogLevel::None ? LogEntries() : entries);
    }
}

} // namespace support

#endif
