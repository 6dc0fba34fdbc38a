// SPDX-License-Identifier: Apache-2.0
/// What a test expects of the log, and of a refusal: exception, text and records together.
#ifndef SUPPORT_LOG_RECORDS_H
#define SUPPORT_LOG_RECORDS_H

#include <gtest/gtest.h>
#include <tarn/log.h>

#include <sstream>
#include <typeinfo>

namespace support {

using LogEntries = std::vector<std::string>; ///< "LEVEL CATEGORY FUNCTION FILE:LINE TEXT"

inline std::string describe(const tarn::log::Record& record)
{
    std::ostringstream text;
    text << static_cast<int>(record.level) << ' ' << record.category << ' ' << record.function << ' '
         << record.file << ':' << record.line << ' ' << record.message;
    return text.str();
}

/// Makes the entries that the library is expected to log: always with an empty file and line 0.
inline auto expectedEntry(const char* levelAndCategory)
{
    return [=](const std::string& function, const std::string& text) {
        return std::string(levelAndCategory) + ' ' + function + " :0 " + text;
    };
}

inline const auto stereoError = expectedEntry("2 vision.stereo");
inline const auto stereoVerbose = expectedEntry("5 vision.stereo");
inline const auto calibrationError = expectedEntry("2 vision.stereo.calibration");
inline const auto calibrationVerbose = expectedEntry("5 vision.stereo.calibration");

/// Collects the records of the library, up to a level, while it lives.
class RecordedLog
{
public:
    explicit RecordedLog(tarn::LogLevel level = tarn::LogLevel::Verbose)
    {
        tarn::log::setLevel("vision.stereo", level);
        tarn::log::setLevel("vision.stereo.calibration", level);
        tarn::log::setSink([this](const tarn::log::Record& record) { _entries.push_back(describe(record)); });
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

/// Expects the exception both with silenced categories and, together with the records, at error level.
/// So the call is made twice: a refused call must leave things as they were.
template <typename Exception, typename Call>
void expectRefusal(const Call& call, const std::string& thrownText, const LogEntries& entries)
{
    for (const auto level : {tarn::LogLevel::None, tarn::LogLevel::Error}) {
        RecordedLog log(level);
        EXPECT_EQ(textThrownBy<Exception>(call), thrownText);
        EXPECT_EQ(log.take(), level == tarn::LogLevel::None ? LogEntries() : entries);
    }
}

/// Expects an exception whose text holds this part, and no record of it.
template <typename Exception, typename Call>
void expectUnloggedRefusal(const Call& call, const std::string& part)
{
    RecordedLog log(tarn::LogLevel::Error);
    const std::string text = textThrownBy<Exception>(call);
    EXPECT_NE(text.find(part), std::string::npos) << text;
    EXPECT_EQ(log.take(), LogEntries());
}

} // namespace support

#endif
