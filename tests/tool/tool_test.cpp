#include "support/process.h"
#include "support/scratch_folder.h"

#include <vision/stereo.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/output/output_files.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <vector>

namespace {

using testing::_;
using testing::AllOf;
using testing::HasSubstr;

/// Shell functions that the tests call.
const std::string functions = R"(
tool() { ')" STEREOVISION_TOOL R"(' "$@"; }
calibrate() { tool calibrate --board "${BOARD:-9x6}" --square "${SQUARE:-25mm}" --output out "$@"; }
depth() {
    tool depth --left-calibration "${LEFT:-left.yml}" --right-calibration "${RIGHT:-right.yml}" \
        --output "${OUTPUT:-out}" "$@"
}
plane() { depth --left l.png --right r.png "$@"; }
)";
const std::string outputs = "l-disparity.pfm\nl-disparity.png\nl-points.ply\nl-rectified.png\n";

// A plane that all pixels see with the same disparity.
const cv::Size sceneSize(320, 240);
constexpr float focalLength = 300;
constexpr float baseline = 0.1f;
constexpr int sceneDisparity = 20; // so the plane is at 300 px * 0.1 m / 20 px = 1.5 m

class Tool : public testing::Test
{
protected:
    void SetUp() override
    {
        std::filesystem::create_directory_symlink(STEREOVISION_IMAGE_DIR, path("images"));
        vision::Calibration calibration;
        calibration.width = sceneSize.width;
        calibration.height = sceneSize.height;
        calibration.cameraMatrix =
            (cv::Mat_<float>(3, 3) << focalLength, 0, 160, 0, focalLength, 120, 0, 0, 1);
        cv::hconcat(calibration.cameraMatrix, cv::Mat::zeros(3, 1, CV_32F), calibration.projectionMatrix);
        calibration.save(path("left.yml"));
        calibration.projectionMatrix.at<float>(0, 3) = -focalLength * baseline;
        calibration.save(path("right.yml"));

        cv::Mat noise(sceneSize.height, sceneSize.width + sceneDisparity, CV_8UC1);
        cv::RNG(1).fill(noise, cv::RNG::UNIFORM, 0, 256);
        left = noise.colRange(0, sceneSize.width);
        right = noise.colRange(sceneDisparity, noise.cols);
        cv::imwrite(path("l.png"), left);
        cv::imwrite(path("r.png"), right);
    }

    std::string path(const std::string& name) const { return scratch.path() + "/" + name; }

    /// Runs a shell command and returns what it wrote to stdout.
    std::string run(const std::string& command, int code, const testing::Matcher<std::string>& err,
                    const testing::Matcher<std::string>& out = _) const
    {
        const support::Outcome outcome = support::runShell(scratch.path(), functions + command);
        EXPECT_EQ(outcome.code, code) << command;
        EXPECT_THAT(outcome.err, err) << command;
        EXPECT_THAT(outcome.out, out) << command;
        return outcome.out;
    }

    std::string listOutput() const { return support::runShell(scratch.path(), "ls -A out").out; }

    /// The number behind a label in the tool's output.
    static double valueOf(const std::string& label, const std::string& output)
    {
        const std::size_t at = output.find(label);
        return at == std::string::npos ? NAN : std::stod(output.substr(at + label.size()));
    }

    const support::ScratchFolder scratch;
    cv::Mat left;
    cv::Mat right;
};

TEST_F(Tool, CalibratesTheRealPairs)
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
    const std::string depth = run("cp out/*.yml .; depth --left images/left01.jpg --right images/right01.jpg "
                                  "--disparities 160",
                                  0,
                                  "",
                                  HasSubstr("wrote out/left01-points.ply"));
    EXPECT_NEAR(valueOf("depth median ", depth), 0.4, 0.03);

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

TEST_F(Tool, SkipsPairsThatCannotBeUsed)
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

TEST_F(Tool, ComputesThePlane)
{
    for (const auto& [name, image] : {std::pair("l", left), std::pair("r", right)}) {
        cv::Mat deep;
        image.convertTo(deep, CV_16U, 4095 / 255.0);
        cv::imwrite(path(std::string("deep-") + name + ".png"), deep);
    }
    cv::Mat alpha;
    cv::cvtColor(left, alpha, cv::COLOR_GRAY2BGRA);
    cv::imwrite(path("alpha.png"), alpha);
    const std::pair<const char*, const char*> rows[] = {
        {"--disparities 48", ""},
        {"--disparities 48 --algorithm sgbm", ""},
        {"--disparities 16 --min-disparity 21", ""}, // the matcher gets one less than the minimum
        {"--disparities 48 --left alpha.png --right r.png", "alpha"},
        {"--disparities 48 --left alpha.png --right r.png --resize 0.5", "alpha"},
        {"--disparities 48 --left deep-l.png --right deep-r.png", "16-bit"},
    };
    for (const auto& [options, note] : rows) {
        const bool isPlain = *note == '\0';
        const std::string out =
            run(std::string(isPlain ? "plane" : "depth") + " --force --window 9 " + options,
                0,
                isPlain ? testing::Matcher<std::string>("") : HasSubstr(note),
                AllOf(HasSubstr("depth median 1.500 m"), HasSubstr("-points.ply")));
        EXPECT_GT(valueOf("matched ", out), 70) << options;
    }
    const cv::Mat shown = cv::imread(path("out/deep-l-rectified.png"), cv::IMREAD_GRAYSCALE);
    EXPECT_EQ(cv::norm(shown.row(0).colRange(0, sceneSize.width), left.row(0), cv::NORM_INF), 0);
    EXPECT_EQ(cv::imread(path("out/alpha-disparity.pfm"), cv::IMREAD_UNCHANGED).size(), sceneSize / 2);
}

TEST_F(Tool, WritesTheSameDepthToAllFiles)
{
    cv::Mat colour;
    cv::merge(std::vector<cv::Mat>{left / 2, left / 3, left}, colour);
    cv::imwrite(path("l.png"), colour);
    const std::string out = run("plane --disparities 48 --window 9", 0, HasSubstr("colour"));
    EXPECT_EQ(listOutput(), outputs);

    EXPECT_THAT(support::readFile(path("out/l-disparity.pfm")),
                testing::StartsWith("Pf\n320 240\n-1")); // little endian
    const cv::Mat disparity = cv::imread(path("out/l-disparity.pfm"), cv::IMREAD_UNCHANGED);
    EXPECT_EQ(disparity.at<float>(120, 200), sceneDisparity);
    EXPECT_EQ(disparity.at<float>(120, 10), INFINITY); // has no partner in the right image
    const cv::Mat matched = disparity < INFINITY;
    const double percent = 100.0 * cv::countNonZero(matched) / static_cast<double>(matched.total());
    EXPECT_NEAR(valueOf("matched ", out), percent, 0.05); // what is printed has one digit

    constexpr std::size_t stride = 15;
    const std::string ply = support::readFile(path("out/l-points.ply"));
    std::size_t at = ply.find("end_header\n") + 11;
    const std::string count = std::to_string((ply.size() - at) / stride);
    EXPECT_THAT(ply,
                AllOf(testing::StartsWith("ply\nformat binary_little_endian 1.0\n"),
                      HasSubstr("z forward"),
                      HasSubstr("metre"),
                      HasSubstr("element vertex " + count + "\n")));
    const cv::Mat trusted = matched & (disparity >= focalLength * baseline / 5); // the default maximum depth
    EXPECT_EQ((ply.size() - at) / stride, static_cast<std::size_t>(cv::countNonZero(trusted)));
    for (; at + stride <= ply.size(); at += stride) {
        cv::Vec3f point;
        cv::Vec3b rgb;
        std::memcpy(point.val, &ply[at], sizeof point);
        std::memcpy(rgb.val, &ply[at + sizeof point], sizeof rgb);
        const cv::Point pixel(cvRound(focalLength * point[0] / point[2] + 160),
                              cvRound(focalLength * point[1] / point[2] + 120));
        ASSERT_NEAR(disparity.at<float>(pixel), focalLength * baseline / point[2], 1e-3) << pixel;
        const auto& bgr = colour.at<cv::Vec3b>(pixel); // these calibrations leave images as they are
        ASSERT_EQ(rgb, cv::Vec3b(bgr[2], bgr[1], bgr[0])) << pixel;
    }
    EXPECT_EQ(at, ply.size());
    const cv::Mat picture = cv::imread(path("out/l-disparity.png"))(cv::Rect({0, 0}, sceneSize));
    cv::Mat black;
    cv::inRange(picture, cv::Scalar::all(0), cv::Scalar::all(0), black);
    EXPECT_EQ(cv::countNonZero(black == matched), 0);
    EXPECT_EQ(cv::imread(path("out/l-rectified.png")).size(), cv::Size(640, 240));
}

TEST_F(Tool, GoesOnAfterAnImageThatFails)
{
    cv::imwrite(path("wide.png"), cv::Mat::zeros(sceneSize * 2, CV_8U));
    cv::imwrite(path("high.png"), cv::Mat::zeros(300, 320, CV_8U));
    const std::string prepare =
        "cp wide.png wide2.png; touch empty.png; head -c 20000 l.png >cut.png; depth --disparities 48 ";
    const std::string names = "--left missing.png empty.png cut.png wide.png high.png . ";
    const std::string partners = "--right r.png r.png r.png wide2.png r.png r.png ";
    const auto complains = AllOf(HasSubstr("missing.png: "),
                                 HasSubstr("empty.png: is empty"),
                                 HasSubstr("cut.png: the image is damaged"),
                                 HasSubstr("wide.png: "),
                                 HasSubstr("high.png is 320 x 300"),
                                 HasSubstr(".: "));
    run(prepare + names + partners, 2, complains);
    EXPECT_EQ(listOutput(), "");
    run(prepare + names + "l.png " + partners + "r.png", 1, complains);
    EXPECT_EQ(listOutput(), outputs);
}

TEST_F(Tool, KeepsExistingFilesUnlessForced)
{
    run("mkdir out; echo precious >out/l-points.ply; plane",
        2,
        AllOf(HasSubstr("out/l-points.ply"), HasSubstr("--force")));
    EXPECT_EQ(listOutput(), "l-points.ply\n");
    run("cat out/l-points.ply", 0, "", "precious\n");
    run("plane --force; head -n 1 out/l-points.ply", 0, "", HasSubstr("ply\n"));
}

TEST_F(Tool, BringsBackWhatIsOverwrittenWhenALaterFileFails)
{
    run("mkdir out; echo precious >out/old", 0, "");
    {
        const vision::toolkit::OutputFolder folder(path("out"), true);
        vision::toolkit::OutputFiles files(folder);
        files.write("old", "replaced");
        files.write("new", "made");
        (void)files.stage("lost"); // never written
        EXPECT_THROW(files.commit(), vision::toolkit::Failure);
    }
    EXPECT_EQ(listOutput(), "old\n");
    run("cat out/old", 0, "", "precious\n");
}

TEST_F(Tool, LeavesNothingBehindWhenADiskIsFull)
{
    for (const char* command :
         {"plane", "calibrate --left images/left0[1-4].jpg --right images/right0[1-4].jpg"}) {
        // files end after 512 bytes
        run(std::string("trap '' XFSZ; ulimit -f 1; ") + command, 2, HasSubstr("cannot write"));
        EXPECT_FALSE(std::filesystem::exists(path("out")));
    }
    run("plane >/dev/full", 1, HasSubstr("full"));
}

TEST_F(Tool, ExplainsItself)
{
    for (const std::string command : {"tool", "tool calibrate", "tool depth"}) {
        run(command + " --help",
            0,
            "",
            AllOf(HasSubstr("Usage: stereovision"), HasSubstr("Example: stereovision")));
    }
    run("tool --version", 0, "", "stereovision " STEREOVISION_VERSION "\n");
    run("plane --verbose", 0, AllOf(HasSubstr("Load calibration file"), HasSubstr("Compute disparity (BM)")));
}

TEST_F(Tool, SaysWhatToChangeAndWritesNothing)
{
    std::vector<std::pair<std::string, std::string>> rows = {
        {"tool", "subcommand"},
        {"tool measure", "measure"},
        {"tool depth", "required"},
        {"plane --disparities 320", "lower --disparities"},
        {"plane --resize 0.5 --window 5", "larger --window"},
        {"plane --window 255", "smaller --window"},
        {"plane --resize 0.3", "sgbm"},
        {"plane --resize 0.33", "--resize"},
        {"plane --max-depth 5ft", "5ft"},
        {"plane --algorithm census", "census"},
        {"plane --left l.png", "--right"},
        {"plane --left l.png --right r.png", "--output"},
        {"depth --left l.png --right l.png", "l.png: "},
        {"OUTPUT=r.png plane", "r.png: "},
        {"OUTPUT=/proc/self plane", "cannot write into the folder"}, // not even by root
        {"ln -s gone/gone link; OUTPUT=link plane", "cannot make the folder"},
        {"LEFT=none.yml plane", "none.yml: "},
        {"LEFT=text.yml plane", "text.yml: "},
        {"LEFT=. plane", "folder"},
        {"RIGHT=partial.yml plane", "partial.yml: "},
        {"RIGHT=left.yml plane", "twice"},
        {"LEFT=right.yml RIGHT=left.yml plane", "swapped"},
        {"plane --window x", "--window"},
        {"plane --max-depth 0", "--max-depth"},
        {"plane --max-depth nan", "nan"},
        {"calibrate --left images/right0[1-4].jpg --right images/left0[1-4].jpg", "swap"},
        {"SQUARE=25 calibrate --left l.png --right r.png", "--square"},
        {"BOARD=9 calibrate --left l.png --right r.png", "--board"},
        {"BOARD=9x2 calibrate --left l.png --right r.png", "--board"},
    };
    for (const std::string option : {"--colour",
                                     "--window 4",
                                     "--disparities 20",
                                     "--max-depth 1mm",
                                     "--min-disparity -321",
                                     "--prefilter-cap 64",
                                     "--prefilter-size 4",
                                     "--speckle-range 32",
                                     "--speckle-window 1001",
                                     "--texture-threshold -1",
                                     "--uniqueness 101",
                                     "--p1 -1",
                                     "--p2 -1"}) {
        rows.emplace_back("plane " + option, option);
    }
    run("echo no calibration >text.yml; sed /projectionMatrix/,\\$d right.yml >partial.yml", 0, "");
    for (const auto& [command, complaint] : rows) {
        run(command, 2, AllOf(HasSubstr("stereovision: error: "), HasSubstr(complaint)), "");
        EXPECT_EQ(listOutput(), "") << command;
    }
}

} // namespace
