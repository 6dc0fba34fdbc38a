// SPDX-License-Identifier: Apache-2.0
#include "support/matrices.h"
#include "support/scratch_folder.h"

#include <vision/toolkit/evaluation/evaluation.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/output/encodings.h>
#include <vision/toolkit/output/pair_output.h>
#include <vision/toolkit/records/calibration_pair.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace vision::toolkit;
using testing::HasSubstr;

static bool hasLinks = true;
static int callsLeft = -1; ///< until this process is killed, in functions that give names; negative for never

static void countCall()
{
    if (callsLeft-- == 0) {
        _exit(1);
    }
}

// These take the place of those in the C library, to play a kill, and a file system that only renames.
extern "C" int link(const char* file, const char* secondName) noexcept
{
    countCall();
    return hasLinks ? linkat(AT_FDCWD, file, AT_FDCWD, secondName, 0) : (errno = EPERM, -1);
}

extern "C" int rename(const char* file, const char* name) noexcept
{
    countCall();
    return renameat(AT_FDCWD, file, AT_FDCWD, name);
}

extern "C" int renameat2(int from, const char* file, int to, const char* name, unsigned flags) noexcept
{
    countCall();
    return hasLinks ? static_cast<int>(syscall(SYS_renameat2, from, file, to, name, flags))
                    : (errno = EINVAL, -1);
}

namespace {

namespace fs = std::filesystem;

const std::string allNames =
    "disparity-picture,disparity-pfm,disparity-tiff,disparity-png16,depth-picture,depth-png16,"
    "depth-tiff,points-ply,rectified,rectified-rows,confidence,level-picture";
const std::string allFiles =
    "a-disparity.png a-disparity.pfm a-disparity.tiff a-disparity16.png a-depth.png a-depth16.png "
    "a-depth.tiff a-points.ply a-rectified-left.png a-rectified-right.png a-rectified.png "
    "a-confidence.tiff a-level.png ";
constexpr std::ptrdiff_t fileCount = 13;

template <typename Action>
std::string codeOf(Action action)
{
    try {
        action();
    } catch (const Failure& failure) {
        return failure.note().code;
    }
    return "";
}

class Output : public testing::Test
{
protected:
    std::string path(const std::string& name) const { return folder.path() + "/" + name; }

    cv::Mat decode(const Bytes& bytes) const { return cv::imdecode(bytes, cv::IMREAD_UNCHANGED); }

    std::string save(const std::string& bytes, const std::string& name = "file") const
    {
        std::ofstream(path(name), std::ios::binary) << bytes;
        return path(name);
    }

    const support::ScratchFolder folder;
};

TEST_F(Output, DisparitiesSurviveEveryFormat)
{
    constexpr float none = INFINITY;
    const cv::Mat_<float> given({2, 5}, {0.0625F, 43.5F, none, NAN, 255.99F, 0.0019F, 256, -3, 1000, 0});
    const auto expect = [&](const Bytes& bytes, const cv::Mat_<float>& expected) {
        const cv::Mat found = readDisparity(save({bytes.begin(), bytes.end()}), {}).disparity;
        EXPECT_TRUE(support::areBitEqual(found, expected)) << found;
    };
    const cv::Mat_<float> floats({2, 5},
                                 {0.0625F, 43.5F, none, none, 255.99F, 0.0019F, 256, none, 1000, none});
    expect(encodeDisparityPfm(given), floats);
    expect(encodeDisparityTiff(given), floats);

    const EncodedImage png = encodeDisparityPng16(given);
    EXPECT_EQ(png.unfit, 5U); // the second row: rounds to 0, one too much, negative, far too much, 0 itself
    const cv::Mat_<float> halves({2, 5},
                                 {0.0625F, 43.5F, none, none, 65533 / 256.F, none, none, none, none, none});
    expect(png.bytes, halves);
    EXPECT_EQ(decode(png.bytes).at<std::uint16_t>(0, 1), 43.5 * 256);
}

TEST_F(Output, DepthsSurviveOrAreCounted)
{
    const cv::Mat_<cv::Vec3f> points({1, 8},
                                     {{1, 1, 0.0014F},
                                      {1, 1, 65.535F},
                                      {0, 0, 0},
                                      {1, 1, -2},
                                      {NAN, 1, 2},
                                      {1, 1, 0.0004F}, // and from here on, what millimetres cannot hold
                                      {1, 1, 65.536F},
                                      {1, 1, 1e9F}});
    const cv::Mat depth = extractDepth(points);
    const EncodedImage png = encodeDepthPng16(depth);
    EXPECT_EQ(png.unfit, 3U);
    EXPECT_TRUE(support::areBitEqual(decode(png.bytes),
                                     cv::Mat_<std::uint16_t>({1, 8}, {1, 65535, 0, 0, 0, 0, 0, 0})));
    EXPECT_TRUE(
        support::areBitEqual(decode(encodeDepthTiff(depth)),
                             cv::Mat_<float>({1, 8}, {0.0014F, 65.535F, 0, 0, 0, 0.0004F, 65.536F, 1e9F})));
}

TEST_F(Output, ReadsEveryDialectOfFloatMaps)
{
    const std::string little("\0\0\x80\x3F\0\0\0\x40", 8); // 1, 2
    const std::string big("\x3F\x80\0\0\x40\0\0\0", 8);
    const cv::Mat_<float> upright({2, 1}, {2, 1});
    for (const std::string& file : {"Pf\n1 2\n-1\n" + little,
                                    "Pf 1 2 -1.0 " + little,
                                    "Pf\r\n1 2\r\n-1\r\n" + little,
                                    "Pf\n1 2\n-0.003922\n" + little, // a scale that says nothing about px
                                    "Pf\n1 2\n1\n" + big}) {
        EXPECT_TRUE(support::areBitEqual(readDisparity(save(file), {}).disparity, upright)) << file;
    }
}

TEST_F(Output, SaysWhatIsWrongWithADisparityFile)
{
    const Bytes tiff = encodeDisparityTiff(cv::Mat(40, 40, CV_32F, cv::Scalar(3)));
    const std::string whole(tiff.begin(), tiff.end());
    const auto png = [this](int type) {
        cv::imwrite(path("file.png"), cv::Mat(2, 2, type, cv::Scalar::all(7)));
        std::ifstream stream(path("file.png"), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    };
    const std::pair<std::string, const char*> rows[] = {
        {"Pf\n2 2\n-1\n123456789012345", "15 bytes of pixels where its header promises 16"},
        {"Pf\n2 2\n-1\n12345678901234567", "17 bytes"},
        {"Pf\n1000000 1000000\n-1\n1234", "megapixels"}, // and needs no memory for it
        {"Pf\n9999999999999 1\n-1\n1234", "header"},
        {"Pf\n2 -2\n-1\n1234567890123456", "header"},
        {"Pf\n2 2\n0\n1234567890123456", "header"},
        {"Pf\n2 2\n", "header"},
        {"PF\n1 1\n-1\n123456789012", "three channels"},
        {whole.substr(0, whole.size() / 2), "damaged"},
        {png(CV_8UC3), "colour"},
        {png(CV_8UC1), "how many px one level is"},
        {"", "empty"},
        {"depth", "not an image"},
    };
    for (const auto& [bytes, complaint] : rows) {
        const std::string file = save(bytes);
        EXPECT_THAT(
            [&file] { (void)readDisparity(file, std::nullopt); },
            testing::ThrowsMessage<Failure>(testing::AllOf(HasSubstr(complaint), testing::StartsWith(file))));
    }
    EXPECT_EQ(readDisparity(save(png(CV_8UC1)), 0.25).disparity.at<float>(1, 1), 1.75F);
}

TEST_F(Output, NamesItsFilesAsItIsTold)
{
    EXPECT_EQ(OutputSet::listNames(), allNames);
    std::string files;
    for (const std::string& file : OutputSet::parse("--write", allNames).listFiles("a")) {
        files += file + " ";
    }
    EXPECT_EQ(files, allFiles);
    EXPECT_THAT(OutputSet::parse("--write", "points-ply,disparity-pfm").listFiles("a"),
                testing::ElementsAre("a-disparity.pfm", "a-points.ply"));
    EXPECT_TRUE(OutputSet::makeDefault(true).needsDepth());
    EXPECT_FALSE(OutputSet::makeDefault(false).needsDepth());
    for (const char* list : {"", "disparity", "disparity-pfm,", "disparity-pfm, points-ply"}) {
        EXPECT_THAT(
            [list] { OutputSet::parse("--write", list); },
            testing::ThrowsMessage<Failure>(testing::AllOf(HasSubstr("--write"), HasSubstr(allNames))));
    }
}

/// Results of a pair in which every pixel tells the pair's number.
PairResults makeResults(int number)
{
    const cv::Size size(64, 48);
    PairResults results;
    results.name = std::to_string(number);
    results.left = results.right = cv::Mat(size, CV_8UC1, cv::Scalar(number));
    results.rectifiedLeft = cv::Mat(size, CV_16UC3, cv::Scalar::all(300 + number));
    results.rectifiedRight = results.left;
    results.disparity = cv::Mat(size, CV_32FC1, cv::Scalar(number));
    results.confidence = cv::Mat(size, CV_32FC1, cv::Scalar(0.5));
    results.points = cv::Mat(size, CV_32FC3, cv::Scalar(0, 0, 100)); // m: too far for millimetres
    return results;
}

TEST_F(Output, SeveralThreadsWriteIntoOneFolder)
{
    constexpr int pairs = 12;
    const OutputSet set = OutputSet::parse("--write", allNames);
    const OutputFolder output(path("out"));
    const auto work = [&](int first) {
        for (int pair = first; pair <= pairs; pair += 2) {
            const PairOutput written = writePairOutput(makeResults(pair), {}, set, output);
            EXPECT_EQ(written.files.size(), fileCount);
            ASSERT_EQ(written.notes.size(), 1U);
            EXPECT_EQ(written.notes[0].code, "depth-out-of-range");
            EXPECT_THAT(written.notes[0].text, HasSubstr(std::to_string(64 * 48) + " pixels"));
        }
    };
    std::thread other(work, 1);
    work(2);
    other.join();

    EXPECT_EQ(std::distance(fs::directory_iterator(path("out")), {}), pairs * fileCount);
    for (int pair = 1; pair <= pairs; ++pair) {
        const std::string name = path("out/" + std::to_string(pair));
        EXPECT_EQ(readDisparity(name + "-disparity.tiff", {}).disparity.at<float>(9, 9), pair);
        const cv::Mat rectified = cv::imread(name + "-rectified-left.png", cv::IMREAD_UNCHANGED);
        EXPECT_EQ(rectified.at<cv::Vec3w>(47, 63)[2], 300 + pair);
    }
}

/// The files that a folder holds and their first words; folders end in a slash.
std::map<std::string, std::string> listFiles(const fs::path& folder)
{
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        std::string& text = files[entry.path().filename().string() + (entry.is_directory() ? "/" : "")];
        std::ifstream(entry.path()) >> text;
    }
    return files;
}

TEST_F(Output, BringsBackWhatIsOverwrittenWhenALaterFileFails)
{
    for (const bool linksExist : {true, false}) {
        hasLinks = linksExist;
        save("precious", "old");
        fs::permissions(path("old"), fs::perms(0640));
        const auto before = listFiles(folder.path());
        {
            const OutputFolder output(folder.path(), ExistingFile::Replace);
            OutputFiles files(output);
            files.write("old", std::string("replaced"));
            files.write("new", std::string("made"));
            files.write("lost", std::string("made"));
            fs::create_directory(path("lost")); // while it is computed
            EXPECT_THAT([&] { files.commit(); },
                        testing::ThrowsMessage<Failure>(HasSubstr("lost: cannot write")));
        }
        fs::remove(path("lost"));
        EXPECT_EQ(listFiles(folder.path()), before);

        const OutputFolder output(folder.path(), ExistingFile::Replace);
        OutputFiles files(output);
        files.write("old", std::string("replaced"));
        files.commit();
        EXPECT_EQ(fs::status(path("old")).permissions(), fs::perms(0640));
    }
    hasLinks = true;
}

TEST_F(Output, IsCompleteOrAbsentWhereverARunIsKilled)
{
    using Files = std::map<std::string, std::string>;
    const std::string results = path("out");
    for (const bool replaces : {false, true}) {
        const ExistingFile existing = replaces ? ExistingFile::Replace : ExistingFile::Refuse;
        const Files before = replaces ? Files{{"a", "old"}, {"b", "old"}} : Files{};
        const Files after{{"a", "new"}, {"b", "new"}};
        std::set<bool> seen;
        int status = 1;
        for (int calls = 0; status != 0; ++calls) {
            hasLinks = calls % 2 == 0;
            fs::create_directory(results);
            for (const auto& [name, text] : before) {
                save(text, "out/" + name);
            }
            const pid_t run = fork();
            if (run == 0) {
                callsLeft = calls / 2;
                const OutputFolder output(results, existing);
                OutputFiles files(output);
                files.write("a", std::string("new"));
                files.write("b", std::string("new"));
                files.commit();
                _exit(0);
            }
            waitpid(run, &status, 0);
            const OutputFolder next(results, existing);
            const Files found = listFiles(results);
            EXPECT_TRUE(found == before || found == after) << calls;
            EXPECT_EQ(next.notes().size(), status == 0 ? 0U : 1U);
            seen.insert(found == after);
            fs::remove_all(results);
        }
        EXPECT_EQ(seen.size(), 2U);
    }
    hasLinks = true;
}

TEST_F(Output, LeavesAloneWhatIsNotItsOwn)
{
    const OutputFolder output(folder.path());
    OutputFiles files(output);
    files.write("a", std::string("new"));
    fs::create_directory(path(".unfinished-symphony"));
    fs::create_directory(path(".finishing-0123456789abcdef"));
    save("late", ".finishing-0123456789abcdef/b");
    save("foreign", "b");
    const OutputFolder other(folder.path()); // while files are open in the first
    ASSERT_EQ(other.notes().size(), 1U);
    EXPECT_THAT(toText(other.notes().front()), HasSubstr(".finishing-0123456789abcdef: holds results"));
    files.commit();
    fs::create_symlink("b", path("link"));
    fs::create_symlink("none", path("dangling"));
    save("", "empty");
    EXPECT_EQ(listFiles(folder.path())["a"], "new");
    EXPECT_TRUE(fs::exists(path(".unfinished-symphony")));

    const std::pair<const char*, const char*> rows[] = {
        {"link", "not-a-file"}, {"dangling", "not-a-file"}, {".unfinished-symphony", "not-a-file"}};
    const OutputFolder replacing(folder.path(), ExistingFile::Replace);
    for (const auto& [name, code] : rows) {
        EXPECT_EQ(codeOf([&, file = name] { replacing.requireFree(file); }), code) << name;
        EXPECT_EQ(codeOf([&, file = name] { output.requireFree(file); }), "file-exists") << name;
    }
    EXPECT_EQ(codeOf([&] { output.requireFree(std::string(256, 'x')); }), "name-unusable");
    const OutputFolder keeping(folder.path(), ExistingFile::Keep);
    EXPECT_TRUE(keeping.keeps("b") && !keeping.keeps("empty") && !keeping.keeps(".unfinished-symphony"));
    OutputFiles more(keeping);
    more.write("empty", std::string("filled"));
    more.write("b", std::string("mine"));
    EXPECT_EQ(codeOf([&] { more.commit(); }), "write-failed");
    EXPECT_EQ(listFiles(folder.path())["b"], "foreign");
    EXPECT_EQ(listFiles(folder.path())["empty"], "");
    OutputFiles longest(output);
    longest.write(std::string(255, 'x'), std::string("fits"));
    EXPECT_EQ(longest.commit().size(), 1U);
}

TEST_F(Output, RefusesCalibrationsThatAreReadBackOtherwise)
{
    vision::Calibration calibration;
    calibration.cameraMatrix = cv::Mat(3, 3, CV_32F, cv::Scalar(NAN)); // which equals nothing
    const OutputFolder output(path("out"));
    OutputFiles files(output);
    EXPECT_THAT([&] { saveCalibration(calibration, "left.yml", files); },
                testing::ThrowsMessage<Failure>(HasSubstr("left.yml: cannot write the file in full")));
}

TEST_F(Output, RefusesDepthsThatAreNotKnown)
{
    PairResults results = makeResults(1);
    results.points.release();
    const OutputFolder output(path("out"));
    EXPECT_THAT([&] { writePairOutput(results, {}, OutputSet::makeDefault(true), output); },
                testing::ThrowsMessage<Failure>(HasSubstr("calibrations")));
    EXPECT_EQ(writePairOutput(results, {}, OutputSet::makeDefault(false), output).files.size(), 3U);
}

} // namespace
