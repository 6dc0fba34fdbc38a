/// What a test expects of the log, and of a refusal: exception, text and records together.
#ifndef SUPPORT_LOG_RECORDS_H
#define SUPPORT_LOG_RECORDS_H

#include <tarn/log.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>
#include <typeindex>
#include <utility>
#include <vector>

namespace support {

/// One record as the sink received it. The library always gives an empty file and line 0.
struct LogEntry
{
    tarn::LogLevel level;
    std::string category;
    std::string function;
    std::string message;
    std::string file = {};
    int line = 0;
};

inline bool operator==(const LogEntry& a, const LogEntry& b)
{
    const auto fields = [](const LogEntry& entry) {
        return std::tie(entry.level, entry.category, entry.function, entry.message, entry.file, entry.line);
    };
    return fields(a) == fields(b);
}

inline std::ostream& operator<<(std::ostream& out, const LogEntry& entry)
{
    return out << static_cast<int>(entry.level) << ' ' << entry.category << ' ' << entry.function << ": "
               << entry.message << " (" << entry.file << ':' << entry.line << ')';
}

using LogEntries = std::vector<LogEntry>;

inline LogEntry stereoError(const std::string& function, const std::string& message)
{
    return {tarn::LogLevel::Error, "vision.stereo", function, message};
}

inline LogEntry stereoVerbose(const std::string& function, const std::string& message)
{
    return {tarn::LogLevel::Verbose, "vision.stereo", function, message};
}

inline LogEntry calibrationEntry(tarn::LogLevel level, const std::string& function,
                                 const std::string& message)
{
    return {level, "vision.stereo.calibration", function, message};
}

/// Collects the library's records up to a level while it lives.
class RecordedLog
{
public:
    explicit RecordedLog(tarn::LogLevel level = tarn::LogLevel::Verbose)
    {
        setLevels(level);
        tarn::log::setSink([this](const tarn::log::Record& record) {
            _entries.push_back(
                {record.level, record.category, record.function, record.message, record.file, record.line});
        });
    }
    RecordedLog(const RecordedLog&) = delete;
    RecordedLog& operator=(const RecordedLog&) = delete;
    ~RecordedLog()
    {
        tarn::log::setSink({});
        setLevels(tarn::LogLevel::Error);
    }

    LogEntries take() { return std::exchange(_entries, {}); }

private:
    static void setLevels(tarn::LogLevel level)
    {
        tarn::log::setLevel("vision.stereo", level);
        tarn::log::setLevel("vision.stereo.calibration", level);
    }

    LogEntries _entries;
};

/// Expects an exception of exactly this type and returns its text.
template <typename Exception, typename Call>
std::string textThrownBy(const Call& call)
{
    try {
        call();
    } catch (const std::exception& error) {
        EXPECT_EQ(std::type_index(typeid(error)).name(), std::type_index(typeid(Exception)).name());
        return error.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

/// For refusals by OpenCV, whose text is its own affair.
constexpr std::nullopt_t anyText = std::nullopt;

/// Expects the exception both with silenced categories and, together with the records, at error level.
/// The call must be repeatable: a refused call leaves things as they were.
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
