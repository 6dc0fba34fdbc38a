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
#include <thread>
#include <unistd.h>

using namespace vision::toolkit;
using testing::HasSubstr;

static bool hasLinks = true;

/// Takes the place of the one in the C library, to play a file system without links.
extern "C" int link(const char* file, const char* secondName) noexcept
{
    return hasLinks ? linkat(AT_FDCWD, file, AT_FDCWD, secondName, 0) : (errno = EPERM, -1);
}

namespace {

namespace fs = std::filesystem;

const std::string allNames =
    "disparity-png,disparity-pfm,disparity-tiff,disparity-png16,depth-png,depth-png16,"
    "depth-tiff,points-ply,rectified,rectified-rows,level-png";
const std::string allFiles =
    "a-disparity.png a-disparity.pfm a-disparity.tiff a-disparity16.png a-depth.png a-depth16.png "
    "a-depth.tiff a-points.ply a-rectified-left.png a-rectified-right.png a-rectified.png a-level.png ";
constexpr std::ptrdiff_t fileCount = 12;

class Output : public testing::Test
{
protected:
    std::string path(const std::string& name) const { return folder.path() + "/" + name; }

    cv::Mat decode(const std::string& bytes) const
    {
        return cv::imdecode(std::vector<char>(bytes.begin(), bytes.end()), cv::IMREAD_UNCHANGED);
    }

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
    const auto expect = [&](const std::string& bytes, const cv::Mat_<float>& expected) {
        const cv::Mat found = readDisparity(save(bytes), {}).disparity;
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
    const std::string whole = encodeDisparityTiff(cv::Mat(40, 40, CV_32F, cv::Scalar(3)));
    const auto png = [this](int type) {
        cv::imwrite(path("file.png"), cv::Mat(2, 2, type, cv::Scalar::all(7)));
        std::ifstream stream(path("file.png"), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    };
    const std::pair<std::string, const char*> rows[] = {
        {"Pf\n2 2\n-1\n123456789012345", "15 bytes of pixels where its header promises 16"},
        {"Pf\n2 2\n-1\n12345678901234567", "17 bytes"},
        {"Pf\n1000000 1000000\n-1\n1234", "cut off"}, // and needs no memory for it
        {"Pf\n9999999999999 1\n-1\n1234", "header"},
        {"Pf\n2 -2\n-1\n1234567890123456", "header"},
        {"Pf\n2 2\n0\n1234567890123456", "header"},
        {"Pf\n2 2\n", "header"},
        {"PF\n1 1\n-1\n123456789012", "three channels"},
        {whole.substr(0, whole.size() / 2), "damaged"},
        {png(CV_8UC3), "colour"},
        {png(CV_8UC1), "--scale"},
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
    for (const char* list : {"", "disparity", "disparity-png,", "disparity-png, points-ply"}) {
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
    results.points = cv::Mat(size, CV_32FC3, cv::Scalar(0, 0, 100)); // m: too far for millimetres
    return results;
}

TEST_F(Output, SeveralThreadsWriteIntoOneFolder)
{
    constexpr int pairs = 12;
    const OutputSet set = OutputSet::parse("--write", allNames);
    const OutputFolder output(path("out"), false);
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

TEST_F(Output, BringsBackWhatIsOverwrittenWhenALaterFileFails)
{
    for (const bool linksExist : {true, false}) {
        hasLinks = linksExist;
        fs::create_directory(path("kept"));
        save("precious", "kept/old");
        {
            const OutputFolder output(path("kept"), true);
            OutputFiles files(output);
            files.write("old", "replaced");
            files.write("new", "made");
            (void)files.stage("lost"); // never written
            EXPECT_THAT([&] { files.commit(); },
                        testing::ThrowsMessage<Failure>(HasSubstr("kept/lost: cannot write")));
        }
        EXPECT_EQ(std::distance(fs::directory_iterator(path("kept")), {}), 1);
        std::string text;
        EXPECT_TRUE(std::ifstream(path("kept/old")) >> text && text == "precious");
    }
    hasLinks = true;
}

TEST_F(Output, RefusesCalibrationsThatAreReadBackOtherwise)
{
    vision::Calibration calibration;
    calibration.cameraMatrix = cv::Mat(3, 3, CV_32F, cv::Scalar(NAN)); // which equals nothing
    const OutputFolder output(path("out"), false);
    OutputFiles files(output);
    EXPECT_THAT([&] { saveCalibration(calibration, "left.yml", files); },
                testing::ThrowsMessage<Failure>(HasSubstr("left.yml: cannot write the file in full")));
}

TEST_F(Output, RefusesDepthsThatAreNotKnown)
{
    PairResults results = makeResults(1);
    results.points.release();
    const OutputFolder output(path("out"), false);
    EXPECT_THAT([&] { writePairOutput(results, {}, OutputSet::makeDefault(true), output); },
                testing::ThrowsMessage<Failure>(HasSubstr("calibrations")));
    EXPECT_EQ(writePairOutput(results, {}, OutputSet::makeDefault(false), output).files.size(), 3U);
}

} // namespace
