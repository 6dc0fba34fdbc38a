#include "support/process.h"
#include "support/scratch_folder.h"

#include <tarn/log.h>
#include <vision/calibration.h>

#include <opencv2/core.hpp>

#include <gmock/gmock.h>

#include <ctime>
#include <iostream>
#include <sys/resource.h>
#include <unistd.h>

namespace {

/// Prints "WIDTH CAMERA-MATRIX", or what was thrown; exits with 0 if that took little time and memory.
[[noreturn]] void loadAndExit(const std::string& file)
{
    alarm(10);
    tarn::log::setLevel("vision.stereo.calibration", tarn::LogLevel::None);
    const auto measure = [] {
        rusage use{};
        getrusage(RUSAGE_SELF, &use);
        return std::pair(std::clock(), use.ru_maxrss); // both of this process alone
    };
    const auto [start, kilobytes] = measure();
    try {
        vision::Calibration calibration;
        calibration.load(file);
        std::cerr << calibration.width << ' ' << calibration.cameraMatrix;
    } catch (const std::exception& error) {
        std::cerr << error.what();
    }
    const auto [end, peak] = measure();
    std::_Exit(end - start < CLOCKS_PER_SEC / 5 && peak - kilobytes < 100'000 ? 0 : 1);
}

void expectReport(const std::string& file, const std::string& expected)
{
    EXPECT_EXIT(loadAndExit(file), testing::ExitedWithCode(0), testing::HasSubstr(expected)) << file;
}

std::string repeat(const std::string& text, int count)
{
    std::string all;
    while (count-- > 0) {
        all += text;
    }
    return all;
}

const std::string dataFolder = DATA_DIR;

class MalformedFile : public testing::Test
{
protected:
    std::string write(const std::string& name, const std::string& text) const
    {
        std::ofstream(path + name) << text;
        return path + name;
    }

    const support::ScratchFolder folder;
    const std::string path = folder.path() + '/';
    const std::string matrix = "cameraMatrix: { dt: f, rows: 1, cols: 2, data: [1, 2] }";
    const std::string yaml = "%YAML:1.0\nwidth: 640\n" + matrix + '\n';
    const std::string json = R"({"width":640,"cameraMatrix":{"dt":"f","rows":1,"cols":2,"data":[1,2]},"x":[)";
    const std::string xml = "<?xml version='1.0'?><opencv_storage><width>640</width><cameraMatrix><dt>f</dt>"
                            "<rows>1</rows><cols>2</cols><data>1 2</data></cameraMatrix>";
    const std::string fields = "640 [1, 2]";
};

TEST_F(MalformedFile, CrashesAndStallsNothing)
{
    const std::pair<const char*, std::vector<std::string>> rows[] = {
        {"it holds base64 data", {"base64.yml", "base64-blank.yml", "base64.json", "base64.xml"}},
        {"list follows the end",
         {"list-behind-document.yml",
          "list-behind-brackets.yml",
          "list-behind-typed-dash.yml",
          "list-behind-dots-as-text.yml",
          "list-behind-indented.yml"}},
        {"its top level", {"short-line-behind-document.yml"}},
        {"ends behind the '='", {"ends-behind-equals.xml"}},
        {"basic_string", {"blank-key.yml"}},
        {"nested too deeply", {"deep.json.gz"}},
        {"32 dimensions", {"sizes-33.yml", "sizes-64.yml"}},
        {"dt is no element type",
         {"dt-200-symbols.yml", "dt-count-to-zero.yml", "dt-count-uninitialised.yml"}},
        {"larger than its file", {"sizes-overflow.yml"}},
        {"0 []", {"header-only.yml"}},
        {"2147483647 []", {"text-as-width.yml"}},
    };
    for (const auto& [expected, names] : rows) {
        for (const std::string& name : names) {
            expectReport(dataFolder + "/malformed/" + name, expected);
        }
    }
    const std::string file = dataFolder + "/malformed/nul.xml";
    expectReport(file, "Refused file: \"" + file + "\": it holds a NUL byte; write it as text.");
}

TEST_F(MalformedFile, IsNoneThatIsMerelyOdd)
{
    support::runShell(folder.path(),
                      "cp '" + dataFolder + "'/odd/* .; for f in *; do gzip <$f >$f.gz; " +
                          "sed 's/$/\\r/' $f >crlf-$f; cp $f $f-plain.gz; done; rm *.txt*");
    const int room = (1 << 20) - static_cast<int>(yaml.size());
    write("large.yml", yaml + "x: [0" + repeat(",0", room / 2 - 4) + "]\n");
    write("brackets.yml",
          "%YAML:1.0\n--- { width: 640, " + matrix + repeat(",\n a: 1", room / 7 - 9) + "}\n");
    write("many.yml", yaml + "x:\n" + repeat(" - { a: \"[\" }\n", 2000));
    write("many.json", json + repeat(R"({"a":"["},)", 2000) + "1]}");
    write("many.xml",
          xml + "<x>" + repeat("<_ a='b'><c>\"d\"</c></_><!-- <e> -->", 2000) + "</x></opencv_storage>");
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
        expectReport(entry.path(), fields);
        ++count;
    }
    EXPECT_EQ(count, 5 * 4 + 5);
    expectReport(path + "odd.yml.gz9?base64", fields); // the name ends before the digit
}

TEST_F(MalformedFile, IsOneNestedTooDeeply)
{
    const auto expectNested = [&](int levels, const std::string& expected) {
        const auto nest = [=](const std::string& open, const std::string& close, int perPair = 1) {
            return repeat(open, (levels - 1) / perPair) + '1' + repeat(close, (levels - 1) / perPair);
        };
        expectReport(write("flow.yml", yaml + "x: " + nest("[", "]") + '\n'), expected);
        expectReport(write("keys.yml", yaml + "x: " + nest("[{ a]]: ", "}]", 2) + '\n'), expected);
        expectReport(write("map.yml", yaml + repeat("a:", levels) + " 1\n"), expected);
        expectReport(write("list.yml", yaml + "x:\n " + repeat("- ", levels - 1) + "1\n"), expected);
        expectReport(write("texts.json", json + nest(R"([ "]\"", )", "]") + "]}"), expected);
        expectReport(write("tags.xml", xml + nest("<a b='</a>'>", "</a>") + "</opencv_storage>"), expected);
    };
    expectNested(900, fields);
    expectNested(1100, "nested too deeply");
    expectNested(20000, "nested too deeply");
}

TEST_F(MalformedFile, IsOneThatIsNoFileOfLimitedSize)
{
    support::runShell(folder.path(),
                      "mkfifo fifo.yml; (echo %YAML:1.0; head -c 200M /dev/zero) | gzip >bomb.yml.gz");
    expectReport(path + "fifo.yml", "no regular file");
    expectReport("/dev/zero", "no regular file");
    expectReport(path, "OpenCV");
    expectReport(path + "none.yml", "Failed to open file: \"" + path + "none.yml\".");
    expectReport(path + "bomb.yml.gz", "1 MiB");
    expectReport(write("large.json", '{' + repeat(" ", 1 << 20)), "1 MiB");
    expectReport(write("large.dat", repeat(" ", 1 << 21)), "OpenCV");
}

} // namespace
