// SPDX-License-Identifier: Apache-2.0
#include "tool/tool_fixture.h"

#include <vision/calibration.h>

#include <nlohmann/json.hpp>

using namespace support;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

using Calibrate = Tool;

/// As isText() takes it.
const std::string wordsOfAllPairs =
    R"((left[01][0-9]: rms N px left, N px right, row error N px, 0.[2-6]N m away, tilted by [0-9]+ degrees
){13}pairs used: 13 of 13
pairs skipped: 0
different positions of the board: 1[23], tilts within 6[0-9] degrees
rms left: 0.1N px
rms right: 0.1N px
rms stereo: 0.N px
row error: 0.1N px rms, 0.[5-9]N px worst, 0.1N px rms in views that a fit did not see
square: 1.00N \+- 0.00N of the given one, triangulated
focal length left: 53[2-4]N \+- 0.[4-9]N px \(0.1N %\)
principal point left: 34[1-3]N \+- 0.[4-9] px, 23[3-5]N \+- 0.[4-9] px
focal length right: 53[6-8]N \+- 0.[4-9]N px \(0.1N %\)
principal point right: 32[6-8]N \+- 0.[4-9] px, 2(48|49|50)N \+- 0.[4-9] px
baseline: 8[23]N \+- 0.[01]N mm
rectified focal length: 51[5-7]N px
covered area: 4[234] % left, 4[234] % right
valid area: (99|100) % left, (99|100) % right
the board was seen 0.[23]N to 0.[34]N m away in 4[234] % of the left image; )"
    R"(beyond, the calibration is extrapolated
depth error at 0.5 m \(extrapolated\): [01].N mm from calibration \(95th percentile [012].N mm\), )"
    R"(1.4 mm from a quarter pixel of matching
depth error at 1.0 m \(extrapolated\): [1-4].N mm from calibration \(95th percentile [2-9].N mm\), )"
    R"(5.6 mm from a quarter pixel of matching
depth error at 2.0 m \(extrapolated\): N mm from calibration \(95th percentile N mm\), )"
    R"(22.[4-6] mm from a quarter pixel of matching
depth error at 5.0 m \(extrapolated\): N mm from calibration \(95th percentile N mm\), )"
    R"(14[0-2]N mm from a quarter pixel of matching
verdict: good
wrote out/left.yml
wrote out/right.yml
wrote out/report.json
wrote out/coverage.png
wrote out/rectified.png
wrote 13 pictures out/view-\*.jpg
)";

TEST_F(Calibrate, CalibratesTheRealPairs)
{
    const std::string out =
        run("calibrate --left images/left??.jpg --right images/right??.jpg",
            0,
            HasSubstr("the board is bowed by 0."), // of these pairs it is, by a quarter of a millimetre
            isText(wordsOfAllPairs));
    for (const char* label : {"rms left: ", "rms right: ", "rms stereo: ", "row error: "}) {
        EXPECT_LT(valueOf(label, out), 0.25) << label;
    }
    vision::Calibration calibration;
    calibration.load(path("out/right.yml"));
    EXPECT_EQ(cv::Size(calibration.width, calibration.height), cv::Size(640, 480));
    EXPECT_EQ(calibration.distortion.total(), 5U);
    const cv::Mat_<float> projection = calibration.projectionMatrix;
    EXPECT_NEAR(valueOf("baseline: ", out), 83.2, 0.5);
    EXPECT_NEAR(valueOf("baseline: ", out), -1000 * projection(0, 3) / projection(0, 0), 0.01); // two digits
    const std::string depth = run("cp out/*.yml .; depth --left images/left01.jpg --right images/right01.jpg",
                                  0,
                                  "",
                                  HasSubstr("wrote out/left01-points.ply"));
    EXPECT_NEAR(valueOf("depth median ", depth), 0.6, 0.05);
}

TEST_F(Calibrate, SkipsPairsThatCannotBeUsed)
{
    std::ofstream(path("broken.jpg")) << "\xFF\xD8\xFF";
    cv::Mat moved = cv::imread(path("images/right08.jpg"), cv::IMREAD_GRAYSCALE);
    moved.rowRange(6, moved.rows).clone().copyTo(moved.rowRange(0, moved.rows - 6));
    cv::imwrite(path("moved.png"), moved);
    const std::string out =
        run("calibrate --left images/left0[1-9].jpg images/fruits.jpg broken.jpg images/box.png"
            " --right images/right0[1-7].jpg moved.png images/right12.jpg images/home.jpg r.jpg"
            " images/box_in_scene.png",
            1,
            AllOf(HasSubstr("broken.jpg: "), HasSubstr("box.png and "), HasSubstr("fruits.jpg")),
            AllOf(HasSubstr("pairs used: 7 of 12\n"),
                  HasSubstr("right12.jpg: does not fit"),
                  HasSubstr("moved.png: does not fit")));
    EXPECT_NEAR(valueOf("baseline: ", out), 83.2, 0.5);
}

TEST_F(Calibrate, TakesTheSizesThatMostImagesAndTheBoardHave)
{
    for (const std::string side : {"left", "right"}) {
        cv::Mat half = cv::imread(path("images/" + side + "01.jpg"), cv::IMREAD_GRAYSCALE);
        cv::resize(half, half, {}, 0.5, 0.5, cv::INTER_AREA);
        cv::imwrite(path(side + ".png"), half);
    }
    std::ofstream(path("broken.jpg")) << "\xFF\xD8\xFF";
    for (const char* board : {"10x7", "6x9", "8x6"}) { // in squares, swapped, one off
        const std::string out = run(
            std::string("BOARD=") + board +
                " calibrate --force --left left.png images/left0[2-5].jpg broken.jpg images/left.jpg"
                " --right right.png images/right0[2-5].jpg r.png images/right.jpg",
            1,
            AllOf(HasSubstr(board == std::string("6x9") ? "" : "9 x 6 is taken"), HasSubstr("broken.jpg: ")),
            AllOf(HasSubstr("pairs used: 4 of 7\n"),
                  HasSubstr("left.png and right.png: is 320 x 240, most pairs with a board are 640 x 480"),
                  HasSubstr("left.jpg and images/right.jpg: no whole board found in either image"),
                  Not(HasSubstr("broken")))); // told once, on stderr
        EXPECT_NEAR(valueOf("baseline: ", out), 83.2, 0.5);
    }
}

TEST_F(Calibrate, WritesWhatCanBeTrustedOnly)
{
    struct Run
    {
        const char* images;
        const char* verdict;
        int code;
        int codeWhenForced;
        bool isWritten;
    };
    const Run rows[] = {
        {"--left images/left0[1-5].jpg --right images/right0[1-5].jpg", "usable", 0, 0, true},
        {"--left images/left0[1-3].jpg --right images/right0[1-3].jpg", "poor", 1, 0, true},
        {"--left images/right0[1-4].jpg --right images/left0[1-4].jpg", "refused", 2, 0, false},
        {"--left l.png --right r.png", "refused", 2, 2, false}, // for want of a board
    };
    run("mkdir out; cp left.yml out; calibrate --force --left l.png --right r.png; c=$?; ls out; exit $c",
        2,
        HasSubstr("of another run"),
        testing::EndsWith("\nleft.yml\n"));
    for (const Run& row : rows) {
        const std::string command =
            std::string("rm -rf out; calibrate --json --distortion 5 --fix k3,tangential --alpha 1 ") +
            row.images;
        const auto err = HasSubstr(std::string(row.verdict) + ": ");
        const std::string printed = run(command, row.code, err);
        EXPECT_EQ(printed, readFile(path("out/report.json"))) << row.images;
        const auto json = nlohmann::json::parse(printed);
        EXPECT_EQ(json["verdict"], row.verdict);
        EXPECT_EQ(json["reasons"][0]["verdict"], row.verdict);
        if (row.isWritten) {
            EXPECT_LT(json["validAreaLeft"], 0.95); // and 1 without --alpha
            vision::Calibration calibration;
            calibration.load(path("out/left.yml"));
            EXPECT_NE(calibration.distortion.at<float>(1), 0);
            EXPECT_EQ(cv::countNonZero(calibration.distortion.colRange(2, 5)), 0);
        }
        EXPECT_EQ(std::filesystem::exists(path("out/left.yml")), row.isWritten) << row.images;
        EXPECT_EQ(json.contains("rectifiedFocalLength"), json["pairs"][0]["used"]) << row.images;
        for (const auto& pair : json["pairs"]) {
            EXPECT_EQ(pair["used"], pair["reason"].get<std::string>().empty());
            if (pair["used"]) { // both images side by side
                const cv::Mat picture = cv::imread(path("out/" + pair["picture"].get<std::string>()));
                EXPECT_EQ(picture.cols, 640 + 8 + 640);
            }
        }
        run(command + " --force-poor", row.codeWhenForced, err);
        EXPECT_EQ(std::filesystem::exists(path("out/right.yml")), row.codeWhenForced == 0) << row.images;
    }
}

#ifdef HAS_ARUCO
constexpr auto unknownMarkers = "\"X\"";
#else
constexpr auto unknownMarkers = "use a chessboard or a grid of circles";
#endif

TEST_F(Calibrate, SaysWhatToChangeAndWritesNothing)
{
    const std::pair<std::string, std::string> rows[] = {
        {"SQUARE=25 calibrate --left l.png --right r.png", "--square"},
        {"SQUARE=nanmm calibrate --left l.png --right r.png", "--square"},
        {"BOARD=0x9x6 calibrate --left l.png --right r.png", "--board"},
        {"BOARD=9 calibrate --left l.png --right r.png", "--board"},
        {"BOARD=9x2 calibrate --left l.png --right r.png", "--board"},
        {"BOARD=201x9 calibrate --left l.png --right r.png", "--board"},
        {"calibrate --left l.png --right r.png --distortion 6", "--distortion"},
        {"calibrate --left l.png --right r.png --fix k9", "--fix"},
        {"calibrate --left l.png --right r.png --alpha 2", "--alpha"},
        {"calibrate --left l.png --right r.png --alpha nan", "--alpha"},
        {"calibrate --left l.png --right r.png --pattern dots", "--pattern"},
        {"calibrate --left l.png --right r.png --pattern charuco --marker 2cm", "--marker and --dictionary"},
        {"calibrate --left l.png --right r.png --pattern charuco --dictionary X",
         "--marker and --dictionary"},
        {"calibrate --left l.png --right r.png --pattern charuco --marker 25mm --dictionary X", "less than"},
        {"calibrate --left l.png --right r.png --pattern charuco --marker 2cm --dictionary X",
         unknownMarkers},
        {"mkdir -p out; touch out/view-1-l.jpg; calibrate --left l.png --right r.png; rc=$?; rm -r out; exit "
         "$rc",
         "view-1-l.jpg"},
    };
    for (const auto& [command, complaint] : rows) {
        run(command, 2, AllOf(HasSubstr("stereovision: error: "), HasSubstr(complaint)), "");
        EXPECT_EQ(listOutput(), "") << command;
    }
}

} // namespace
