#include "support/matrices.h"
#include "support/process.h"
#include "support/scratch_folder.h"

#include <vision/calibration.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include <filesystem>

namespace {

using testing::_;
using testing::AllOf;
using testing::HasSubstr;

class EvaluateAndRectify : public testing::Test
{
protected:
    std::string path(const std::string& name) const { return scratch.path() + "/" + name; }

    std::string run(const std::string& arguments, int code, const testing::Matcher<std::string>& err,
                    const testing::Matcher<std::string>& out = _) const
    {
        const auto outcome = support::runShell(scratch.path(), "'" STEREOVISION_TOOL "' " + arguments);
        EXPECT_EQ(outcome.code, code) << arguments;
        EXPECT_THAT(outcome.err, err) << arguments;
        EXPECT_THAT(outcome.out, out) << arguments;
        return outcome.out;
    }

    const support::ScratchFolder scratch;
};

TEST_F(EvaluateAndRectify, TellsTheSameInWordsAndJson)
{
    // Truth in steps of 2 px: 20 px in three pixels, 100 px in one, none in the last.
    cv::imwrite(path("truth.png"), cv::Mat_<unsigned char>({1, 5}, {10, 10, 10, 50, 0}));
    cv::imwrite(path("found.tiff"), cv::Mat_<float>({1, 5}, {20.75F, 16, INFINITY, 104, 7}));
    cv::imwrite(path("mask.png"), cv::Mat_<unsigned char>({1, 5}, {255, 0, 0, 255, 255}));
    const auto json = nlohmann::json::parse(run("evaluate --scale 2 --json found.tiff truth.png", 0, ""));
    EXPECT_EQ(json["truth"], 4);
    EXPECT_EQ(json["density"], 0.75);
    EXPECT_DOUBLE_EQ(json["average"], 8.75 / 3);
    EXPECT_EQ(json["ofMatched"]["bad-0.5"], 1);
    EXPECT_DOUBLE_EQ(json["ofMatched"]["bad-2"], 2 / 3.0);
    EXPECT_DOUBLE_EQ(json["ofMatched"]["d1"], 1 / 3.0); // 4 px of 100 are not wrong
    EXPECT_EQ(json["ofAll"]["d1"], 0.5);
    run("evaluate --scale 2 found.tiff truth.png --mask mask.png --error-picture deep/er/error.png",
        0,
        "",
        AllOf(HasSubstr("density: 100.00 %\n"),
              HasSubstr("bad-1: 50.00 % of matched, 50.00 % of all\n"),
              HasSubstr("average: 2.375 px\n"),
              HasSubstr("wrote deep/er/error.png\n")));
    EXPECT_FALSE(cv::imread(path("deep/er/error.png")).empty());
    cv::imwrite(path("nothing.tiff"), cv::Mat(1, 5, CV_32F, cv::Scalar(0)));
    EXPECT_TRUE(nlohmann::json::parse(run("evaluate --scale 2 --json nothing.tiff truth.png", 0, ""))["rms"]
                    .is_null());
}

TEST_F(EvaluateAndRectify, RefusesToCompareWhatMeansNothing)
{
    cv::imwrite(path("truth.png"), cv::Mat_<unsigned char>({1, 2}, {10, 10}));
    cv::imwrite(path("found.tiff"), cv::Mat_<float>({1, 2}, {20, 20}));
    cv::imwrite(path("small.tiff"), cv::Mat_<float>({1, 1}, {20}));
    const std::pair<const char*, const char*> rows[] = {
        {"found.tiff truth.png", "truth.png: has grey levels of 8 bits"},
        {"found.tiff found.tiff --scale 2", "--scale is for images of 8 bits"},
        {"found.tiff truth.png --scale 0", "--scale"},
        {"small.tiff truth.png --scale 2", "small.tiff and truth.png: the disparity image is 1 x 1"},
        {"found.tiff truth.png --scale 2 --error-picture truth.png", "choose another --error-picture"},
        {"found.tiff truth.png --scale 2 --error-picture error.jpg", ".png"},
        {"found.tiff none.pfm", "none.pfm: cannot open"},
        {"found.tiff", "TRUTH"},
    };
    for (const auto& [arguments, complaint] : rows) {
        run(std::string("evaluate ") + arguments, 2, HasSubstr(complaint), "");
    }
}

TEST_F(EvaluateAndRectify, RectifiedPairsKeepColourAndBits)
{
    const cv::Size size(64, 48);
    vision::Calibration calibration;
    calibration.width = size.width;
    calibration.height = size.height;
    calibration.cameraMatrix = (cv::Mat_<float>(3, 3) << 60, 0, 32, 0, 60, 24, 0, 0, 1);
    cv::hconcat(calibration.cameraMatrix, cv::Mat::zeros(3, 1, CV_32F), calibration.projectionMatrix);
    calibration.save(path("left.yml"));
    calibration.projectionMatrix.at<float>(0, 3) = -6;
    calibration.save(path("right.yml"));
    const std::string options =
        "rectify --left-calibration left.yml --right-calibration right.yml --output out ";
    for (const int type : {CV_8UC1, CV_16UC1, CV_8UC3, CV_16UC3, CV_16UC4}) {
        cv::Mat image(size, type);
        cv::RNG(type).fill(image, cv::RNG::UNIFORM, 0, 65536);
        cv::imwrite(path("l.png"), image);
        cv::imwrite(path("r.png"), image);
        run(options + "--force --left l.png --right r.png",
            0,
            "",
            "wrote out/l-rectified-left.png\nwrote out/l-rectified-right.png\n");
        for (const char* name : {"out/l-rectified-left.png", "out/l-rectified-right.png"}) {
            EXPECT_TRUE(support::areBitEqual(cv::imread(path(name), cv::IMREAD_UNCHANGED), image)) << type;
        }
    }
    run(options + "--left l.png --right r.png", 2, HasSubstr("--force"), "");
    cv::imwrite(path("wide.png"), cv::Mat::zeros(48, 65, CV_8U));
    cv::imwrite(path("wide2.png"), cv::Mat::zeros(48, 65, CV_8U));
    run(options + "--left wide.png --right wide2.png", 2, HasSubstr("wide.png"), "");
}

} // namespace
