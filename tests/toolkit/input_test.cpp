// SPDX-License-Identifier: Apache-2.0
#include "input/file_names.h"
#include "input/frame_times.h"
#include "input/image_header.h"
#include "input/number_mismatch.h"
#include "support/scratch_folder.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/files/text_file.h>
#include <vision/toolkit/input/images.h>
#include <vision/toolkit/input/pair_sequence.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/videoio.hpp>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

using namespace vision::toolkit;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class Input : public testing::Test
{
protected:
    std::string path(const std::string& name) const { return folder.path() + "/" + name; }

    void writeImage(const std::string& name, int value, int type = CV_8UC1, cv::Size size = {40, 30}) const
    {
        cv::imwrite(path(name), cv::Mat(size, type, cv::Scalar::all(value)));
    }

    /// A video whose frames have the grey levels 0, 20, 40 ...
    void writeVideo(const std::string& name, int frames, int step = 20) const
    {
        cv::VideoWriter video(path(name), cv::VideoWriter::fourcc('M', 'J', 'P', 'G'), 10, {64, 48});
        for (int i = 0; i < frames; ++i) {
            video.write(cv::Mat(48, 64, CV_8UC3, cv::Scalar::all(i * step)));
        }
    }

    std::string readFile(const std::string& name) const
    {
        std::ifstream stream(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    void writeFile(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(path(name), std::ios::binary) << bytes;
    }

    template <typename Call>
    static std::string complaintOf(const Call& call)
    {
        try {
            (void)call();
        } catch (const Failure& failure) {
            return failure.what();
        }
        return "no complaint";
    }

    const support::ScratchFolder folder;
};

TEST_F(Input, NamesStandForImagesInNaturalOrder)
{
    std::filesystem::create_directory(path("d"));
    std::filesystem::create_directory(path("d/sub.png"));
    for (const char* name : {"d/l10.png", "d/l9.png", "d/r1.JPG", "d/notes.doc"}) {
        std::ofstream(path(name)) << "x";
    }
    std::ofstream(path("list.txt")) << "# both\nd/l9.png \r\n\n/abs/x.png\n";
    const auto expand = [this](const std::string& given) { return expandNames({path(given)}); };
    EXPECT_THAT(expand("d"), ElementsAre(path("d/l9.png"), path("d/l10.png"), path("d/r1.JPG")));
    EXPECT_THAT(expand("d/l*.png"), ElementsAre(path("d/l9.png"), path("d/l10.png")));
    EXPECT_THAT(expand("d/l%02d.png"), ElementsAre(path("d/l9.png"), path("d/l10.png")));
    EXPECT_THAT(expand("list.txt"), ElementsAre(path("d/l9.png"), "/abs/x.png"));
    EXPECT_THAT(expand("missing.png"), ElementsAre(path("missing.png"))); // told where it is read
    std::ofstream(path("d/[1].png")) << "x";
    EXPECT_THAT(expand("d/[1].png"), ElementsAre(path("d/[1].png"))); // a file of that name comes first

    std::filesystem::create_directory(path("empty"));
    std::ofstream(path("empty.txt")) << "\n#\n";
    const std::pair<const char*, const char*> rows[] = {{"empty", "no image in this folder"},
                                                        {"empty/*.png", "no file matches this pattern"},
                                                        {"empty/l%04d.png", "no file has this name"},
                                                        {"empty.txt", "no name in this list"}};
    for (const auto& [given, complaint] : rows) {
        EXPECT_THAT(complaintOf([&, name = given] { return expand(name); }), HasSubstr(complaint));
    }
}

TEST_F(Input, PairsComeFromFilesHalvesAndVideos)
{
    writeImage("l.png", 10);
    writeImage("r.png", 200);
    cv::Mat both(30, 80, CV_8UC1, cv::Scalar(10));
    both.colRange(40, 80) = 200;
    cv::imwrite(path("both.png"), both);
    writeVideo("l.avi", 7);
    writeVideo("r.avi", 7, 10);
    const auto means = [](PairSequence& pairs, std::size_t pair) {
        const RawPair images = pairs.take(pair)();
        return cv::Vec2i(cvRound(cv::mean(images.left)[0]), cvRound(cv::mean(images.right)[0]));
    };
    for (const PairInput& input :
         {PairInput{{path("l.png")}, {path("r.png")}, false}, PairInput{{path("both.png")}, {}, true}}) {
        const auto pairs = openPairs(input);
        ASSERT_EQ(pairs->size(), 1U);
        EXPECT_EQ(means(*pairs, 0), cv::Vec2i(10, 200));
        EXPECT_EQ(pairs->name(0), input.isSideBySide ? "both" : "l");
    }
    const auto frames = openPairs({{path("l.avi")}, {path("r.avi")}, false});
    ASSERT_EQ(frames->size(), 7U);
    EXPECT_EQ(frames->name(3), "l-000003");
    EXPECT_EQ(frames->images(3).right, path("r.avi") + " frame 3");
    for (const int frame : {0, 1, 4, 6, 2}) { // also skipping and back
        EXPECT_LE(cv::norm(means(*frames, static_cast<std::size_t>(frame)),
                           cv::Vec2i(20, 10) * frame,
                           cv::NORM_INF),
                  2);
    }
    const auto halves = openPairs({{path("l.avi")}, {}, true});
    EXPECT_EQ(halves->take(0)().right.size(), cv::Size(32, 48));
}

TEST_F(Input, SaysWhatIsWrongWithPairs)
{
    writeImage("l.png", 10);
    writeImage("wide.png", 10, CV_8UC1, {41, 30});
    writeImage("float.tiff", 10, CV_32FC1);
    writeImage("long.png", 10, CV_8UC1, {2, 32768});
    writeImage("long2.png", 10, CV_8UC1, {2, 32768});
    writeVideo("l.avi", 5);
    writeVideo("short.avi", 4);
    std::ofstream(path("list.m3u8.avi"))
        << "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\nl.avi\n#EXT-X-ENDLIST\n";
    for (const char* pipe : {"pipe.avi", "pipe.txt", "pipe.png"}) { // which nobody ever writes to
        ASSERT_EQ(mkfifo(path(pipe).c_str(), 0600), 0);
    }
    std::ofstream(path("broken.avi")) << "no video";
    const auto read = [](const PairInput& input) { return openPairs(input)->take(0)(); };
    struct
    {
        std::vector<std::string> left, right;
        bool isSideBySide;
        const char* complaint;
    } const rows[] = {
        {{"l.png", "wide.png"}, {"l.png"}, false, "2 images of the left camera and 1"},
        {{"l.png"}, {"l.png"}, false, "as left and as right"},
        {{"l.png"}, {"wide.png"}, false, "same size"},
        {{"float.tiff"}, {"l.png"}, false, "8 nor 16 bits"},
        {{"long.png"}, {"long2.png"}, false, "long.png: is 2 x 32768"},
        {{"list.m3u8.avi"}, {}, true, "it is none of AVI"},
        {{"pipe.avi"}, {}, true, "a pipe or a device"},
        {{"pipe.txt"}, {}, true, "a pipe or a device"},
        {{"pipe.png"}, {}, true, "a pipe or a device"},
        {{"wide.png"}, {}, true, "two halves"},
        {{"l.png"}, {"wide.png"}, true, "need no images of the right"},
        {{"l.avi"}, {"short.avi"}, false, "have 5 and 4 frames"},
        {{"l.avi"}, {"l.png"}, false, "one video for each camera"},
        {{"broken.avi"}, {"l.avi"}, false, "cannot open the video"},
        {{"none.avi"}, {"l.avi"}, false, "No such file"},
    };
    for (const auto& row : rows) {
        PairInput input{row.left, row.right, row.isSideBySide};
        for (auto* const names : {&input.left, &input.right}) {
            for (std::string& name : *names) {
                name = path(name);
            }
        }
        EXPECT_THAT(complaintOf([&] { return read(input); }), HasSubstr(row.complaint));
    }
}

TEST_F(Input, IsRefusedWhereverAnImageIsCutOff)
{
    cv::Mat noise(16, 8, CV_8UC1);
    cv::RNG(1).fill(noise, cv::RNG::UNIFORM, 0, 256);
    const auto encode = [&](const std::string& ending, const std::vector<int>& options = {}) {
        std::vector<unsigned char> bytes;
        cv::imencode(ending, noise, bytes, options);
        return std::string(bytes.begin(), bytes.end());
    };
    const std::string plain = encode(".jpg"), start = plain.substr(0, 2), rest = plain.substr(2);
    const std::size_t length = plain.size() + 2;
    const std::string preview = "\xFF\xE1" + std::string{char(length >> 8), char(length)} + plain;
    struct
    {
        std::string name, image;
        std::size_t spare = 0; ///< bytes at the end
    } const rows[] = {
        {"plain.jpg", plain},
        {"restarts.jpg", encode(".jpg", {cv::IMWRITE_JPEG_RST_INTERVAL, 1})},
        {"progressive.jpg", encode(".jpg", {cv::IMWRITE_JPEG_PROGRESSIVE, 1})},
        {"preview.jpg", start + preview + rest},
        {"filled.jpg", start + "\xFF\xFF" + rest},
        {"more.jpg", plain + "more", 4},
        {"plain.png", encode(".png")},
    };
    for (const auto& [name, image, spare] : rows) {
        for (std::size_t size = 4; size <= image.size(); ++size) {
            std::ofstream(path(name), std::ios::binary) << image.substr(0, size);
            const std::string complaint = complaintOf([&, file = name] { return readImage(path(file)); });
            ASSERT_THAT(complaint, HasSubstr(size + spare < image.size() ? "damaged" : "no complaint"))
                << name << ' ' << size << " of " << image.size();
        }
    }
}

TEST_F(Input, IsConvertedToEightBitsAndNoted)
{
    const cv::Mat eight(4, 4, CV_8UC1, cv::Scalar(100)), colour(4, 4, CV_8UC3, cv::Scalar(0, 0, 255));
    const cv::Mat twelve(4, 4, CV_16UC1, cv::Scalar(4095));
    const cv::Mat alpha(4, 4, CV_16UC4, cv::Scalar(1023, 1023, 1023, 65535));
    struct
    {
        RawPair pair;
        int left, right; ///< grey levels
        std::vector<std::string> codes;
    } const rows[] = {
        {{eight, eight}, 100, 100, {}},
        {{eight, eight / 5}, 100, 20, {"bit-range-differs"}},
        {{eight / 5, eight / 20}, 20, 5, {}}, // dark: noise decides
        {{colour, eight}, 76, 100, {"converted-to-grey"}},
        {{twelve, twelve / 2}, 255, 128, {"scaled-to-8-bits"}},
        {{twelve, eight}, 255, 100, {"bit-range-differs", "scaled-to-8-bits"}},
        {{alpha, alpha}, 255, 255, {"alpha-ignored", "scaled-to-8-bits", "converted-to-grey"}},
    };
    for (const auto& row : rows) {
        const ImagePair pair = toEightBits(row.pair);
        EXPECT_EQ(cv::mean(pair.left.grey)[0], row.left);
        EXPECT_EQ(cv::mean(pair.right.grey)[0], row.right);
        std::vector<std::string> codes;
        for (const Note& note : pair.notes) {
            codes.push_back(note.code);
        }
        EXPECT_EQ(codes, row.codes);
    }
}

TEST_F(Input, DecodesJpegAsOpenCvDoesOrRefusesWhatIsDamaged)
{
    const std::string samples = STEREOVISION_IMAGE_DIR;
    std::filesystem::copy(samples + "/left01.jpg", path("grey.jpg"));
    const cv::Mat colour = cv::imread(samples + "/aloeL.jpg");
    cv::imwrite(path("progressive.jpg"), colour, {cv::IMWRITE_JPEG_PROGRESSIVE, 1});
    for (const std::string& file : {path("grey.jpg"), samples + "/aloeL.jpg", path("progressive.jpg")}) {
        EXPECT_EQ(cv::norm(readImage(file), cv::imread(file, cv::IMREAD_UNCHANGED), cv::NORM_INF), 0);
    }
    const std::string whole = readFile("grey.jpg");
    for (std::size_t at = 2000; at + 4096 < whole.size(); at += 1500) {
        writeFile("gone.jpg", whole.substr(0, at) + whole.substr(at + 4096));
        EXPECT_THAT(complaintOf([&] { return readImage(path("gone.jpg")); }),
                    HasSubstr("gone.jpg: the image is damaged"))
            << at;
    }
}

TEST_F(Input, KnowsSizesBeforeDecoding)
{
    for (const char* name :
         {"x.png", "x.jpg", "x.tiff", "x.bmp", "x.pgm", "x.ppm", "x.webp", "x.jp2", "x.ras"}) {
        writeImage(name, 100, std::string(name) == "x.pgm" ? CV_8UC1 : CV_8UC3, {50, 40});
        EXPECT_EQ(readImage(path(name), {1, {50, 40}}).size(), cv::Size(50, 40)) << name;
        EXPECT_THAT(complaintOf([&] {
                        return readImage(path(name), {1, {49, 40}});
                    }),
                    HasSubstr("is 50 x 40, larger than the 49 x 40"))
            << name;
        const std::string bytes = readFile(name);
        for (std::size_t size = 0; size < bytes.size();
             ++size) { // wherever it is cut off, it is read to its end
            const auto header =
                readImageHeader({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)});
            EXPECT_TRUE(!header || (header->width == 50 && header->height == 40)) << name << ' ' << size;
        }
    }
    const std::pair<const char*, std::string> bombs[] = {{"x.png", std::string("\0\1\0\0\0\1\0\0", 8)},
                                                         {"x.bmp", std::string("\0\0\1\0\0\0\1\0", 8)}};
    for (const auto& [name, size] : bombs) { // 65536 x 65536
        std::string bytes = readFile(name);
        bytes.replace(std::string(name) == "x.png" ? 16 : 18, 8, size);
        writeFile(name, bytes);
        EXPECT_THAT(complaintOf([&, file = path(name)] { return readImage(file); }),
                    HasSubstr("4295.0 megapixels"));
    }
    writeFile("p.pgm", "P5 #\n70000 # wide\n 50000\n65535\nxx");
    EXPECT_THAT(complaintOf([&] { return readImage(path("p.pgm")); }), HasSubstr("3500.0 megapixels"));
    EXPECT_FALSE(readImageHeader({'P', '5', ' ', '#', ' ', 'x'})); // ends inside a comment
}

TEST_F(Input, OneBitDepthHoldsForASequence)
{
    PairInput input;
    const int brightest[] = {900, 4000, 200, 60000};
    for (int pair = 0; pair < 4; ++pair) {
        for (auto* const side : {&input.left, &input.right}) {
            side->push_back((side == &input.left ? "l" : "r") + std::to_string(pair) + ".png");
            writeImage(side->back(), brightest[pair], CV_16UC1);
            side->back() = path(side->back());
        }
    }
    const auto read = [&](std::size_t pair) { return toEightBits(openPairs(input)->take(pair)()); };
    EXPECT_EQ(read(0).left.grey.at<unsigned char>(0), 4); // of 16 bits, because of the last pair
    input.bits = 12;
    EXPECT_EQ(read(0).left.grey.at<unsigned char>(0), 56);
    EXPECT_EQ(read(2).left.grey.at<unsigned char>(0), 12);
    const ImagePair beyond = read(3);
    EXPECT_EQ(beyond.left.grey.at<unsigned char>(0), 255);
    EXPECT_EQ(beyond.notes.back().code, "beyond-bit-depth");
}

TEST_F(Input, VideosThatLackFramesAreRefused)
{
    writeVideo("2026-11-21T12:00:00.avi", 20, 12);
    const std::string whole = readFile("2026-11-21T12:00:00.avi");
    const auto open = [this](const std::string& file) { return openPairs({{path(file)}, {}, true})->size(); };
    EXPECT_EQ(open("2026-11-21T12:00:00.avi"), 20U); // not a protocol
    const std::size_t at = whole.size() * 3 / 4;
    for (const std::string& damaged :
         {whole.substr(0, at), std::string(whole).replace(at, 1000, 1000, '\0')}) {
        writeFile("damaged.avi", damaged);
        EXPECT_THAT(complaintOf([&] { return open("damaged.avi"); }),
                    HasSubstr("of 20 frames can be decoded"));
    }
    constexpr std::size_t none = noFrame;
    EXPECT_THAT(numberFrames({0, 40, 80, 120, 0, 0}),
                ElementsAre(0, 1, 2, 3, 4, 5)); // times of the last are unknown
    EXPECT_THAT(numberFrames({10, 50, 90, 210, 250}), ElementsAre(0, 1, 2, none, none, 3, 4));
    EXPECT_THAT(numberFrames({0, 40, 97, 120}), ElementsAre(0, 1, 2, 3)); // not regular
    EXPECT_TRUE(isShort({0, 40, 80}, 3, {true, 4, 25}));
    EXPECT_FALSE(isShort({0, 40, 80, 160}, 5, {true, 5, 25})); // a gap tells which one is missing
    EXPECT_TRUE(isShort({0, 40, 80}, 3, {false, 20, 25}));
    EXPECT_FALSE(isShort({0, 40, 80}, 3, {false, 5, 25})); // sound may last longer
    EXPECT_FALSE(isShort({0, 40, 80}, 3, {false, -9e18, 25}));
}

TEST_F(Input, NumbersThatDisagreeAreNoted)
{
    const std::pair<std::vector<PairNames>, std::size_t> rows[] = {
        {{{"l0003.png", "r0003.png"}, {"l4.png", "r0004.png"}}, 0},
        {{{"l1.png", "r1.png"}, {"l2.png", "r3.png"}, {"l3.png", "r4.png"}}, 1},
        {{{"IMG_1234.png", "IMG_5678.png"}, {"left.png", "right.png"}}, 0}, // each camera counts on its own
    };
    for (const auto& [pairs, notes] : rows) {
        EXPECT_EQ(findNumberMismatch(pairs).size(), notes) << pairs.front().left;
    }
}

TEST_F(Input, TextsAreReadWholeOrNotAtAll)
{
    writeFile("text", std::string(100, 'x'));
    EXPECT_EQ(readTextFile(path("text"), 100).size(), 100U);
    const std::pair<std::string, const char*> rows[] = {{path("text"), "has 100 bytes"},
                                                        {path("none"), "cannot open"},
                                                        {"/dev/zero", "a device"},
                                                        {path(""), "a folder"}};
    for (const auto& [file, complaint] : rows) {
        EXPECT_THAT(complaintOf([&, name = file] { return readTextFile(name, 99); }), HasSubstr(complaint));
    }
}

} // namespace
