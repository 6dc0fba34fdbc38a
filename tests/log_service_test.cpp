#include <tarn/log.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>

using tarn::LogLevel;
using tarn::log::addCategory;

namespace {

/// Logs while other static objects are made and destroyed, if the environment asks for it.
struct GlobalLogger
{
    GlobalLogger() { say("constructed"); }
    ~GlobalLogger() { say("destroyed"); }

    static void say(const char* text)
    {
        if (std::getenv("LOG_SERVICE_TEST_GLOBAL")) {
            tarn::log::LogStream(LogLevel::Error, "", "global", 0, addCategory("global")) << text;
        }
    }
};

const GlobalLogger globalLogger;

/// Runs in a process of its own, since the environment is read only once.
void expectInNewProcess(const char* variable, const char* value, const std::string& stderrPattern)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    setenv(variable, value, 1);
    const auto printLevels = [] {
        for (const char* const name : {"vision.stereo", "other"}) {
            std::fprintf(stderr, "%s %d\n", name, static_cast<int>(addCategory(name)->level.load()));
        }
        std::exit(0);
    };
    EXPECT_EXIT(printLevels(), testing::ExitedWithCode(0), stderrPattern);
    unsetenv(variable);
}

TEST(LogService, StartsWithTheLevelsOfTheEnvironment)
{
    const std::pair<const char*, const char*> rows[] = {
        {"", "^vision.stereo 2\nother 2\n$"},
        {"5", "^vision.stereo 5\nother 5\n$"},
        {"vision.stereo=5", "^vision.stereo 5\nother 2\n$"},
        {"0,vision.stereo=6", "^vision.stereo 6\nother 0\n$"},
        {"loud,vision.stereo=7,=3,other=4", // each nonsense is reported once, the rest is taken
         "^[^\n]*\"loud\"[^\n]*\n[^\n]*\"vision.stereo=7\"[^\n]*\n[^\n]*\"=3\"[^\n]*\n"
         "vision.stereo 2\nother 4\n$"},
    };
    for (const auto& [value, pattern] : rows) {
        expectInNewProcess("TARN_LOG", value, pattern);
    }
}

TEST(LogService, WorksWhileStaticObjectsAreMadeAndDestroyed)
{
    expectInNewProcess("LOG_SERVICE_TEST_GLOBAL", "1",
                       "^[-0-9]+ [:.0-9]+ error global global: constructed\n(.*\n)*"
                       "[-0-9]+ [:.0-9]+ error global global: destroyed\n$");
}

TEST(LogService, GivesTheSameCategoryForTheSameNameAndSetsItsLevel)
{
    auto* const category = addCategory("same");
    EXPECT_EQ(addCategory("same"), category);
    EXPECT_NE(addCategory("another"), category);
    tarn::log::setLevel("same", LogLevel::Debug);
    EXPECT_EQ(category->level, LogLevel::Debug);
    EXPECT_EQ(addCategory("another")->level, LogLevel::Error);
    tarn::log::setLevel("late", LogLevel::Info);
    EXPECT_EQ(addCategory("late")->level, LogLevel::Info);
}

TEST(LogService, GivesEachRecordOnceAndWholeToTheSink)
{
    std::vector<std::string> received;
    tarn::log::setSink([&](const tarn::log::Record& r) {
        received.push_back(r.category + std::to_string(static_cast<int>(r.level)) + r.file + r.function +
                           std::to_string(r.line) + r.message);
    });
    {
        tarn::log::LogStream stream(LogLevel::Debug, "file", "function", 7, addCategory("sink"));
        stream << "text " << 42;
        EXPECT_TRUE(received.empty());
    }
    tarn::log::log(LogLevel::Fatal, nullptr, "no category", "", "", 0);
    tarn::log::setSink({});
    EXPECT_EQ(received, std::vector<std::string>{"sink6filefunction7text 42"});
}

TEST(LogService, ContainsAFailingSink)
{
    tarn::log::setSink([](const tarn::log::Record&) { throw std::runtime_error("full disk"); });
    EXPECT_NO_THROW(tarn::log::log(LogLevel::Error, addCategory("failing"), "text", "", "", 0));
    EXPECT_NO_THROW(tarn::log::LogStream(LogLevel::Error, "", "", 0, addCategory("failing")) << "text");
    tarn::log::setSink({});
}

TEST(LogService, TakesRecordsFromManyThreads)
{
    constexpr int threadCount = 8;
    constexpr int recordCount = 500;
    std::atomic<int> received{0};
    const auto count = [&](const tarn::log::Record&) { ++received; };
    tarn::log::setSink(count);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < recordCount; ++i) {
                auto* const category = addCategory("thread" + std::to_string(i % 7));
                tarn::log::setLevel(category->name, LogLevel::Info);
                tarn::log::log(LogLevel::Error, category, "text", "", "", thread);
                tarn::log::setSink(count);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    tarn::log::setSink({});
    EXPECT_EQ(received, threadCount * recordCount);
}

} // namespace
