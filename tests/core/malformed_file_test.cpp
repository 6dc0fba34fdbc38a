// SPDX-License-Identifier: Apache-2.0
#include "support/process.h"
#include "support/scratch_folder.h"

#include <vision/calibration.h>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>
#include <tarn/log.h>

#include <ctime>
#include <iostream>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

const std::string dataFolder = DATA_DIR;

/// Prints "WIDTH CAMERA-MATRIX", or what was thrown.
void* load(void* file)
{
    try {
        vision::Calibration calibration;
        calibration.load(*static_cast<const std::string*>(file));
        std::cerr << calibration.width << ' ' << calibration.cameraMatrix;
    } catch (const cv::Exception& error) {
        std::cerr << "cv::Exception: " << error.what();
    } catch (const std::exception& error) {
        std::cerr << error.what();
    }
    return nullptr;
}

/// Loads on a thread with a stack of 512 KiB; exits with 0 if that took little time and memory.
[[noreturn]] void loadAndExit(std::string file)
{
    alarm(60);
    tarn::log::setLevel("vision.stereo.calibration", tarn::LogLevel::None);
    const auto measure = [] {
        rusage use{};
        getrusage(RUSAGE_SELF, &use);
        return std::pair(std::clock(), use.ru_maxrss); // both of this process alone
    };
    const auto [start, kilobytes] = measure();
    pthread_attr_t attributes;
    pthread_t thread = 0;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 512 * 1024);
    const bool ran =
        pthread_create(&thread, &attributes, load, &file) == 0 && pthread_join(thread, nullptr) == 0;
    const auto [end, peak] = measure();
    std::_Exit(ran && end - start < TIME_FACTOR * CLOCKS_PER_SEC / 5 && peak - kilobytes < 100'000 ? 0 : 1);
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
    const std::string yaml =
        "%YAML:1.0\nwidth: 640\ncameraMatrix: { dt: f, rows: 1, cols: 2, data: [1, 2] }\nx: ";
    const std::string json = R"({"width":640,"cameraMatrix":{"dt":"f","rows":1,"cols":2,"data":[1,2]},"x":[)";
    const std::string xml = "<?xml version='1.0'?><opencv_storage><width>640</width><cameraMatrix><dt>f</dt>"
                            "<rows>1</rows><cols>2</cols><data>1 2</data></cameraMatrix><x>";
    const std::string fields = "640 [1, 2]";
};

TEST_F(MalformedFile, CrashesAndStallsNothing)
{
    const std::pair<const char*, std::vector<std::string>> rows[] = {
        {"it holds base64 data",
         {"base64.yml",
          "base64-caret.yml",
          "base64-tag.yml",
          "base64.json",
          "base64.xml",
          "base64-quotes.xml"}},
        {"follows the end", {"list-behind-document.yml", "top-level-is-list.yml"}},
        {"shares its line", {"list-behind-end.yml", "key-behind-start.yml", "top-level-in-brackets.yml"}},
        {"top level", {"list-behind-indented.yml", "top-level-indented.yml", "top-level-typed.yml"}},
        {"ends behind the '='", {"ends-behind-equals.xml", "ends-behind-equals-and-blanks.xml"}},
        {"carriage return", {"carriage-return.xml"}},
        {"basic_string", {"blank-key.yml"}},
        {"nested too deeply", {"deep.json.gz"}},
        {"Refused matrix: \"cameraMatrix\": it has more than 32 dimensions; write rows and cols.",
         {"sizes-33.yml"}},
        {"dt is no element type", {"dt-200-symbols.yml", "dt-count-uninitialised.yml"}},
        {"larger than its file", {"sizes-overflow.yml", "rows-and-cols.yml"}},
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

TEST_F(MalformedFile, IsNoneThatIsMerelyOddOrLong)
{
    support::runShell(folder.path(),
                      "cp '" + dataFolder + "'/odd/* .; for f in *; do gzip <$f >$f.gz; " +
                          "sed 's/$/\\r/' $f >crlf-$f; cp $f $f-plain.gz; done; rm *.txt*");
    const int room = (1 << 20) - static_cast<int>(yaml.size());
    write("large.yml",
          yaml + "[0" + repeat(",0", room / 2 - 4) + "]\n" + repeat("\n", 4 + room % 2)); // to the byte
    write("maps.yml",
          yaml + '\n' + repeat(" - { a: \"b\", c: [\n    1 ] }\n", 2000) +
              "distortion: { dt: \"511f\", rows: 0, cols: 0, data: [] }\n" + "projectionMatrix: { sizes: [" +
              repeat("1,", 31) + "1], dt: f, data: [1] }\n");
    write("lists.yml", yaml + '[' + repeat("[-1.,\r\n  +2],\r\n  ", 2000) + "1]\n");
    write("negatives.yml", yaml + '[' + repeat("-0,-1,-2,-3,-4,-5,-6,-7,-8,-9,-.5,", 1100) + "1]\n");
    write("maps.json", json + repeat(R"({"a":"/b","c":{"d":[1]}},)", 2000) + "1]}");
    write("lists.json", json + '[' + repeat("[-1.,\r\n +2],", 2000) + "]]}");
    write("many.xml", xml + repeat("<_ a=\"b\"><c>\"d\"</c>\r\n</_>", 2000) + "</x></opencv_storage>\r");
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
        expectReport(entry.path(), fields);
        ++count;
    }
    EXPECT_EQ(count, 3 * 4 + 7);
    expectReport(path + "odd.yml.gz9?base64", fields);
}

TEST_F(MalformedFile, IsNoneInPlainBracketsUnlessSomethingFollowsThem)
{
    const auto expectOf = [&](const std::string& text, const std::string& expected) {
        SCOPED_TRACE(text);
        expectReport(write("brackets.yml", "%YAML:1.0\n" + text), expected);
    };
    const std::string inside =
        "width: 640, cameraMatrix: { rows: 1, cols: 2, dt: f, data: [ 1,\n  2.e-0 ] } }";
    for (const std::string text :
         {"--- {}\n", "---\n{\r\n  } # }\n# end\n...\n", "---{ a: [], b: [[1], -2] }"}) {
        expectOf(text, "0 []");
    }
    for (const std::string& text :
         {"---\n{" + inside + "\n",
          "--- { x: \"] }\", " + inside + "\n...\n---\na: 1\n",
          "---\n  {a: {},\n # }\n b : {c: 1},\n " + inside + "\n---\n--- # next\nb: 2\n",
          "---\n{ m: !!opencv-matrix { rows: 0, cols: 0, dt: \"3f\", data: [] }, " + inside}) {
        expectOf(text, fields);
    }
    // The parser would wait for ever at the dash behind "abc", or behind what takes the place of that.
    for (const std::string text : {"{ ,{ a: 1 } abc- }",
                                   "{ a: 1, { b: 1 } abc- }",
                                   "{ [: 1 } abc- ]: 1 }",
                                   "{ a: b:{ } abc- }",
                                   "{ a: b [ } abc- ] }",
                                   "{ a: \"\\\"\", b: 1 } abc- x\", b: 1 }",
                                   "{ a: '{' } abc- }' }",
                                   "{ a: 1 # {\n } abc- # }\n }",
                                   "{ a: !{ 1 } abc- }",
                                   "{ \"a:b\": { c\": 1 } abc- } }",
                                   "{ a: !!opencv-matrix !!opencv-matrix { } abc- }",
                                   "{ a: 1, }: 2 } abc- ",
                                   "{ a: 1 \r }\n } abc- x",
                                   "{} abc- x"}) {
        expectOf("---\n" + text + '\n', "its top level is in brackets with more");
    }
    for (const std::string text :
         {"---\n- x", "...\n- x", " abc\n - x", "%ab- x", "\r\n.\n- x", " ...\n- x"}) {
        expectOf("---\n{}\n" + text + '\n', "something follows");
    }
    expectOf("--- " + repeat("[", 1001) + repeat("]", 1001), "deeply");
}

TEST_F(MalformedFile, IsOneNestedTooDeeply)
{
    const auto expectNested = [&](int levels, const std::string& expected) {
        const auto expectOf = [&](const std::string& name,
                                  const std::string& start,
                                  const std::string& open,
                                  const std::string& close,
                                  int levelsOfOpen = 1) {
            const int count = levels / levelsOfOpen;
            expectReport(write(name,
                               start + repeat(open, count) + '1' + repeat(close, count) +
                                   (start == json  ? "]}"
                                    : start == xml ? "</x></opencv_storage>"
                                                   : "\n")),
                         expected);
        };
        std::string blocks;
        for (int i = 0; i < levels; ++i) {
            blocks += '\n' + repeat(" ", i) + "a:";
        }
        expectReport(write("blocks.yml", yaml + "1" + blocks + " 1\n"), expected);
        expectOf("keys.yml", yaml, "a:", "");
        expectOf("dashes.yml", yaml + "\n ", "- ", "");
        expectOf("brackets.yml", yaml, "[", "]");
        expectOf("quotes.yml", yaml, "[']',", "]");
        expectOf("comments.yml", yaml, "[ # ]\n  ", "]");
        expectOf("types.yml", yaml, "[ !] ", "]");
        expectOf("returns.yml", yaml, "[ \r]\n  ", "]");
        expectOf("steps.yml", yaml, "\n      [\n   [", "]]", 2);
        expectOf("maps.yml", yaml, "[{ a]}:\n  ", "}]", 2);
        expectOf("blocks-and-brackets.yml", yaml + repeat("a:", levels / 2), "[", "]", 2);
        expectOf("escapes.json", json, R"({"b":"\"}","a":)", "}");
        expectOf("texts.json", json, R"({"]}":"a","a":)", "}");
        expectOf("mixed.json", json, R"({"[":"]}","a":)", "}");
        expectOf("closings.json", json, "[[1],", "]");
        expectOf("comments.json", json, "[ /* ] */ ", "]");
        expectOf("returns.json", json, "[ \r]\n ", "]");
        expectOf("quotes.xml", xml, "<a b='</a>'>", "</a>");
        expectOf("texts.xml", xml, "<a b=\"</a>\">", "</a>");
        expectOf("comments.xml", xml, "<a><!-- </a> -->", "</a>", 2);
    };
    expectNested(900, fields);
    expectNested(1020, "nested too deeply");
    expectReport(write("most.yml", yaml + repeat("[", 999) + '1' + repeat("]", 999) + '\n'), fields);
    expectReport(write("most.yml", yaml + repeat("[", 1000) + '1' + repeat("]", 1000) + '\n'), "deeply");
    expectReport(write("most.json", json + repeat("[", 998) + repeat("]", 998) + "]}"), fields);
    expectReport(write("most.json", json + repeat("[", 999) + repeat("]", 999) + "]}"), "deeply");
    expectReport(write("marked.yml", "\xEF\xBB\xBF" + yaml + repeat("[", 1000)), "deeply");
}

TEST_F(MalformedFile, IsOneThatIsNoFileOfLimitedSize)
{
    support::runShell(folder.path(),
                      "mkfifo fifo.yml; (echo %YAML:1.0; head -c 50M /dev/zero) | gzip >bomb.yml.gz; "
                      "gzip </usr/bin/env | head -c 5000 >damaged.gz; gzip </usr/bin/env >>damaged.gz");
    expectReport(path + "fifo.yml", "no regular file");
    expectReport("/dev/zero", "no regular file");
    expectReport(path, "cv::Exception: Refused file: \"" + path + "\": it is a folder;");
    expectReport(path + "none.yml", "Failed to open file: \"" + path + "none.yml\".");
    expectReport(path + "bomb.yml.gz9?base64", "1 MiB"); // the name ends before the digit
    expectReport(path + "damaged.gz", "damaged");
    expectReport("a", "Failed to open file: \"a\".");
    expectReport(write("joined.yml", "%YAML:1.0\n---x\n"), "shares its line");
    const std::string empty = "%YAML:1.0\ncameraMatrix: { dt: f, rows: 0, data: [], cols: ";
    expectReport(write("empty.yml", empty + "1048576 }\n"), "0 []");
    expectReport(write("empty.yml", empty + "1048577 }\n"), "larger than");
    expectReport(write("large.json", '{' + repeat(" ", 1 << 20)), "1 MiB");
    expectReport(write("large.dat", repeat(" ", 1 << 21)), "OpenCV");
}

} // namespace
