#include "tool/tool_fixture.h"

#include <vision/stereo.h>

#include <opencv2/calib3d.hpp>

#include <algorithm>
#include <vector>

using namespace support;
using testing::AllOf;
using testing::HasSubstr;

namespace {

using Calibrate = Tool;

TEST_F(Calibrate, CalibratesTheRealPairs)
{
    const std::string out = run("calibrate --left images/left??.jpg --right images/right??.jpg",
                                0,
                                "",
                                HasSubstr("pairs used: 13 of 13\n"));
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

    // The depth image holds the squares in their size.
    vision::Calibration leftCalibration;
    leftCalibration.load(path("out/left.yml"));
    vision::Stereo stereo;
    stereo.setCalibrations(leftCalibration, calibration);
    stereo.setDisparityNumber(160); // the board is near
    const auto [rectifiedLeft, rectifiedRight] =
        stereo.rectifyImages(cv::imread(path("images/left01.jpg"), cv::IMREAD_GRAYSCALE),
                             cv::imread(path("images/right01.jpg"), cv::IMREAD_GRAYSCALE));
    std::vector<cv::Point2f> corners;
    ASSERT_TRUE(cv::findChessboardCorners(rectifiedLeft, {9, 6}, corners));
    cv::cornerSubPix(rectifiedLeft, corners, {5, 5}, {-1, -1}, {cv::TermCriteria::EPS, 0, 0.01});
    for (const auto algorithm : {vision::Stereo::BM, vision::Stereo::SGBM}) {
        stereo.setStereoAlgorithm(algorithm);
        const cv::Mat points = stereo.computeDepth(stereo.computeDisparity(rectifiedLeft, rectifiedRight));
        std::vector<double> edges; // along the rows of the board
        for (std::size_t i = 1; i < corners.size(); ++i) {
            const auto from = points.at<cv::Vec3f>(corners[i - 1]);
            const auto to = points.at<cv::Vec3f>(corners[i]);
            if (i % 9 != 0 && from[2] > 0 && to[2] > 0) {
                edges.push_back(cv::norm(to - from));
            }
        }
        ASSERT_GT(edges.size(), 36U) << "of 48";
        // The median: where the board's pattern repeats itself, single corners are matched to the wrong one.
        std::sort(edges.begin(), edges.end());
        EXPECT_NEAR(edges[edges.size() / 2], 0.025, 0.03 * 0.025) << algorithm;
    }
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
            AllOf(HasSubstr("broken.jpg: "), HasSubstr("box.png is "), HasSubstr("fruits.jpg")),
            AllOf(HasSubstr("pairs used: 7 of 12\n"),
                  HasSubstr("right12.jpg: does not fit"),
                  HasSubstr("moved.png: does not fit")));
    EXPECT_NEAR(valueOf("baseline: ", out), 83.2, 0.5);
}

TEST_F(Calibrate, SaysWhatToChangeAndWritesNothing)
{
    const std::pair<std::string, std::string> rows[] = {
        {"SQUARE=25 calibrate --left l.png --right r.png", "--square"},
        {"BOARD=9 calibrate --left l.png --right r.png", "--board"},
        {"BOARD=9x2 calibrate --left l.png --right r.png", "--board"},
    };
    for (const auto& [command, complaint] : rows) {
        run(command, 2, AllOf(HasSubstr("stereovision: error: "), HasSubstr(complaint)), "");
        EXPECT_EQ(listOutput(), "") << command;
    }
}

} // namespace
