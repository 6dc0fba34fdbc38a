// SPDX-License-Identifier: Apache-2.0
#include "support/log_records.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstdlib>
#include <thread>

using tarn::LogLevel;
using tarn::log::addCategory;

namespace {

/// Logs while static objects are made and destroyed, if the environment asks for it.
struct GlobalLogger
{
    explicit GlobalLogger(const char* text) { say(text); }
    ~GlobalLogger() { say("destroyed"); }

    static void say(const char* text)
    {
        if (*text != '\0' && addCategory("global")->level == LogLevel::Debug) {
            tarn::log::LogStream(LogLevel::Error, "", "static", 0, addCategory("global")) << text;
        }
    }
};

const GlobalLogger lastToGo(""); // made before the log service is first used, so destroyed after it could be
const GlobalLogger firstToLog("constructed");

void printLevelsAndExit()
{
    for (const char* const name : {"vision.stereo", "other"}) {
        std::fprintf(stderr, "%s %d\n", name, static_cast<int>(addCategory(name)->level.load()));
    }
    std::exit(0);
}

TEST(LogService, TakesLevelsFromTheEnvironmentAndWorksWithStaticObjects)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // a new process: the environment is read once
    const std::pair<const char*, const char*> rows[] = {
        {"", "^vision.stereo 2\nother 2\n$"},
        {"5", "^vision.stereo 5\nother 5\n$"},
        {"0,vision.stereo=6", "^vision.stereo 6\nother 0\n$"},
        {"12,vision.stereo=7,=3,other=4", // each nonsense is reported once, the rest is taken
         "^[^\n]*\"12\"[^\n]*\n[^\n]*\"vision.stereo=7\"[^\n]*\n[^\n]*\"=3\"[^\n]*\n"
         "vision.stereo 2\nother 4\n$"},
        {"global=6",
         "^[-0-9]+ [:.0-9]+ error global static: constructed\nvision.stereo 2\nother 2\n"
         "([-0-9]+ [:.0-9]+ error global static: destroyed\n){2}$"},
    };
    for (const auto& [value, pattern] : rows) {
        setenv("TARN_LOG", value, 1);
        EXPECT_EXIT(printLevelsAndExit(), testing::ExitedWithCode(0), pattern);
    }
    unsetenv("TARN_LOG");
}

TEST(LogService, NumbersItsLevelsAndNamesThemOnStderr)
{
    tarn::log::setSink({}); // brings back the default
    testing::internal::CaptureStderr();
    for (int level = 0; level <= 7; ++level) {
        tarn::log::log(static_cast<LogLevel>(level), addCategory("named"), std::to_string(level), "", "f", 0);
    }
    EXPECT_THAT(
        testing::internal::GetCapturedStderr(),
        testing::MatchesRegex(
            ".* none named f: 0\n.* fatal named f: 1\n.* error named f: 2\n.* warning named f: 3\n"
            ".* info named f: 4\n.* verbose named f: 5\n.* debug named f: 6\n.* unknown named f: 7\n"));
}

TEST(LogService, GivesTheSameCategoryForTheSameNameAndSetsItsLevel)
{
    tarn::log::setLevel("same", LogLevel::Debug);
    EXPECT_EQ(addCategory("same")->level, LogLevel::Debug);
    EXPECT_EQ(addCategory("same"), addCategory("same"));
    EXPECT_EQ(addCategory("another")->level, LogLevel::Error);
}

TEST(LogService, GivesEachRecordOnceAndWholeToTheSink)
{
    std::vector<std::string> received;
    tarn::log::setSink(
        [&](const tarn::log::Record& record) { received.push_back(support::describe(record)); });
    {
        tarn::log::LogStream stream(LogLevel::Debug, "file", "function", 7, addCategory("sink"));
        stream << "text " << 42;
        EXPECT_TRUE(received.empty());
    }
    tarn::log::log(LogLevel::Fatal, nullptr, "no category", "", "", 0);
    tarn::log::setSink({});
    EXPECT_EQ(received, std::vector<std::string>{"6 sink function file:7 text 42"});
}

TEST(LogService, LosesNoRecordOfSeveralThreadsWhileSinksChange)
{
    std::atomic<int> received{0};
    const tarn::log::Sink sink = [&](const tarn::log::Record&) { ++received; };
    tarn::log::setSink(sink);
    std::vector<std::thread> threads(4);
    for (std::thread& thread : threads) {
        thread = std::thread([&] {
            for (int i = 0; i < 1000; ++i) {
                auto* const category = addCategory("thread" + std::to_string(i));
                tarn::log::log(LogLevel::Error, category, "text", "", "", 0);
                tarn::log::setSink(sink);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    tarn::log::setSink({});
    EXPECT_EQ(received, 4000);
}

TEST(LogService, ContainsAFailingSink)
{
    tarn::log::setSink([](const tarn::log::Record&) { throw std::runtime_error("full disk"); });
    EXPECT_NO_THROW(tarn::log::log(LogLevel::Error, addCategory("failing"), "text", "", "", 0));
    EXPECT_NO_THROW(tarn::log::LogStream(LogLevel::Error, "", "", 0, addCategory("failing")) << "text");
    tarn::log::setSink({});
}

} // namespace
