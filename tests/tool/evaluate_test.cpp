// SPDX-License-Identifier: Apache-2.0
#include "support/matrices.h"
#include "tool/tool_fixture.h"

#include <nlohmann/json.hpp>

using namespace support;
using testing::AllOf;
using testing::HasSubstr;

namespace {

using Evaluate = Tool;
using Rectify = Tool;

TEST_F(Evaluate, TellsTheSameInWordsAndJson)
{
    // Truth in steps of 2 px: 20 px in three pixels, 100 px in one, none in the last.
    cv::imwrite(path("truth.png"), cv::Mat_<unsigned char>({1, 5}, {10, 10, 10, 50, 0}));
    cv::imwrite(path("found.tiff"), cv::Mat_<float>({1, 5}, {20.75F, 16, INFINITY, 104, 7}));
    cv::imwrite(path("mask.png"), cv::Mat_<unsigned char>({1, 5}, {255, 0, 0, 255, 255}));
    const auto json =
        nlohmann::json::parse(run("tool evaluate --scale 2 --json found.tiff truth.png", 0, ""));
    EXPECT_EQ(json["truth"], 4);
    EXPECT_EQ(json["density"], 0.75);
    EXPECT_DOUBLE_EQ(json["average"], 8.75 / 3);
    EXPECT_EQ(json["ofMatched"]["bad-0.5"], 1);
    EXPECT_DOUBLE_EQ(json["ofMatched"]["bad-2"], 2 / 3.0);
    EXPECT_DOUBLE_EQ(json["ofMatched"]["d1"], 1 / 3.0); // 4 px of 100 are not wrong
    EXPECT_EQ(json["ofAll"]["d1"], 0.5);
    run("tool evaluate --scale 2 found.tiff truth.png --mask mask.png --error-picture deep/er/error.png",
        0,
        "",
        AllOf(HasSubstr("density: 100.00 %\n"),
              HasSubstr("bad-1: 50.00 % of matched, 50.00 % of all\n"),
              HasSubstr("average: 2.375 px\nrms: 2.878 px\n"),
              HasSubstr("wrote deep/er/error.png\n")));
    EXPECT_FALSE(cv::imread(path("deep/er/error.png")).empty());
    cv::imwrite(path("nothing.tiff"), cv::Mat(1, 5, CV_32F, cv::Scalar(0)));
    EXPECT_TRUE(
        nlohmann::json::parse(run("tool evaluate --scale 2 --json nothing.tiff truth.png", 0, ""))["rms"]
            .is_null());
}

TEST_F(Evaluate, RefusesToCompareWhatMeansNothing)
{
    cv::imwrite(path("truth.png"), cv::Mat_<unsigned char>({1, 2}, {10, 10}));
    cv::imwrite(path("found.tiff"), cv::Mat_<float>({1, 2}, {20, 20}));
    cv::imwrite(path("small.tiff"), cv::Mat_<float>({1, 1}, {20}));
    cv::imwrite(path("big.tiff"), cv::Mat_<float>({1, 3}, {20, 20, 20}));
    const std::pair<const char*, const char*> rows[] = {
        {"found.tiff truth.png", "truth.png: has grey levels of 8 bits"},
        {"found.tiff found.tiff --scale 2", "--scale: only images of 8 bits"},
        {"found.tiff truth.png --scale 0", "--scale"},
        {"small.tiff truth.png --scale 2", "small.tiff and truth.png: the disparity image is 1 x 1"},
        {"found.tiff truth.png --scale 2 --error-picture truth.png",
         "truth.png: exists already; add --force"},
        {"found.tiff truth.png --scale 2 --error-picture error.jpg", ".png"},
        {"found.tiff none.pfm", "none.pfm: cannot open"},
        {"found.tiff /dev/zero", "/dev/zero: is a folder, a pipe or a device"},
        {"big.tiff found.tiff", "big.tiff: is 3 x 1, larger than the 2 x 1"},
        {"found.tiff", "TRUTH"},
    };
    for (const auto& [arguments, complaint] : rows) {
        run(std::string("tool evaluate ") + arguments, 2, HasSubstr(complaint), "");
    }
}

TEST_F(Rectify, KeepsColourAndBits)
{
    const std::string rectify =
        "tool rectify --left-calibration left.yml --right-calibration right.yml --output out ";
    for (const int type : {CV_8UC1, CV_16UC1, CV_8UC3, CV_16UC3, CV_16UC4}) {
        cv::Mat image(sceneSize, type);
        cv::RNG(static_cast<std::uint64_t>(type)).fill(image, cv::RNG::UNIFORM, 0, 65536);
        cv::imwrite(path("l1.png"), image);
        cv::imwrite(path("r1.png"), image);
        run(rectify + "--force --left 'l?.png' --right 'r?.png'",
            0,
            "",
            "wrote out/l1-rectified-left.png\nwrote out/l1-rectified-right.png\n");
        for (const char* name : {"out/l1-rectified-left.png", "out/l1-rectified-right.png"}) {
            EXPECT_TRUE(areBitEqual(cv::imread(path(name), cv::IMREAD_UNCHANGED), image)) << type;
        }
    }
    cv::imwrite(path("wide.png"), cv::Mat::zeros(48, 65, CV_8U));
    run("cp wide.png wide2.png; " + rectify + "--left l.png l1.png wide.png --right r.png r1.png wide2.png",
        1,
        AllOf(HasSubstr("l1-rectified-left.png: exists already"),
              HasSubstr("wide.png: the images are 65 x 48")),
        "wrote out/l-rectified-left.png\nwrote out/l-rectified-right.png\n");
    run("cp l.png out; " + rectify + "--left l.png out/l.png --right r.png r1.png",
        2,
        HasSubstr("would both write"),
        "");
}

} // namespace
