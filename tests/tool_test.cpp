#include "support/process.h"
#include "support/scratch_folder.h"

#include <vision/stereo.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <vector>

namespace {

using support::Outcome;
using testing::AllOf;
using testing::HasSubstr;

const std::string calibrateOptions = "calibrate --board 9x6 --square 25mm --output out";
const std::string calibrationOptions = "depth --left-calibration left.yml --right-calibration right.yml";
const std::string depthOptions = calibrationOptions + " --left l.png --right r.png --output out ";
const std::vector<std::string> outputs{"l-disparity.pfm", "l-disparity.png", "l-points.ply",
                                       "l-rectified.png"};

// The scene of the depth tests: a plane that all pixels see with the same disparity.
const cv::Size sceneSize(320, 240);
constexpr float focalLength = 300;
constexpr float baseline = 0.1f;
constexpr int sceneDisparity = 20; // so the plane is at 300 px * 0.1 m / 20 px = 1.5 m

class Tool : public testing::Test
{
protected:
    Tool() { std::filesystem::create_directory_symlink(STEREOVISION_IMAGE_DIR, path("images")); }

    Outcome run(const std::string& arguments, const std::string& before = "") const
    {
        return support::runShell(folder, before + "'" STEREOVISION_TOOL "' " + arguments);
    }

    std::string path(const std::string& name) const { return folder + "/" + name; }

    std::vector<std::string> listOutput() const
    {
        std::vector<std::string> names;
        if (std::filesystem::exists(path("out"))) {
            for (const auto& entry : std::filesystem::directory_iterator(path("out"))) {
                names.push_back(entry.path().filename());
            }
        }
        return names;
    }

    /// The number behind a label in the tool's output.
    static double valueOf(const std::string& label, const std::string& output)
    {
        const std::size_t at = output.find(label);
        return at == std::string::npos ? NAN : std::stod(output.substr(at + label.size()));
    }

    support::ScratchFolder scratch;
    const std::string folder = scratch.path();
};

class DepthTool : public Tool
{
protected:
    void SetUp() override
    {
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
        write(left, right);
    }

    void write(const cv::Mat& l, const cv::Mat& r) const
    {
        cv::imwrite(path("l.png"), l);
        cv::imwrite(path("r.png"), r);
    }

    cv::Mat left;
    cv::Mat right;
};

struct Point
{
    float x, y, z;
    unsigned char red, green, blue;
};

std::vector<Point> readPly(const std::string& file)
{
    constexpr std::size_t stride = 15;
    const std::string bytes = support::readFile(file);
    const std::string end = "end_header\n";
    std::size_t at = bytes.find(end) + end.size();
    EXPECT_THAT(bytes.substr(0, at), AllOf(HasSubstr("ply\nformat binary_little_endian 1.0\n"),
                                           HasSubstr("z forward"), HasSubstr("metre")));
    std::vector<Point> points;
    for (; at + stride <= bytes.size(); at += stride) {
        points.emplace_back();
        std::memcpy(&points.back(), bytes.data() + at, stride);
    }
    EXPECT_EQ(bytes.size(), at);
    EXPECT_THAT(bytes, HasSubstr("element vertex " + std::to_string(points.size()) + "\n"));
    return points;
}

cv::Mat readPfm(const std::string& file, const cv::Size& size)
{
    const std::string bytes = support::readFile(file);
    const std::string header =
        "Pf\n" + std::to_string(size.width) + " " + std::to_string(size.height) + "\n-1.0\n";
    cv::Mat image(size, CV_32FC1);
    EXPECT_EQ(bytes.substr(0, header.size()), header);
    EXPECT_EQ(bytes.size(), header.size() + image.total() * sizeof(float));
    std::memcpy(image.data, bytes.data() + header.size(),
                std::min(bytes.size() - header.size(), image.total() * 4));
    cv::flip(image, image, 0); // the file begins with the bottom row
    return image;
}

TEST_F(Tool, CalibratesTheRealPairs)
{
    const Outcome outcome = run(calibrateOptions + " --left images/left??.jpg --right images/right??.jpg");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.out, HasSubstr("pairs used: 13 of 13\n"));
    for (const char* label : {"rms left: ", "rms right: ", "rms stereo: ", "row error: "}) {
        EXPECT_LT(valueOf(label, outcome.out), 0.25) << label;
    }
    EXPECT_NEAR(valueOf("baseline: ", outcome.out), 83.2, 0.5);

    vision::Calibration left;
    vision::Calibration right;
    left.load(path("out/left.yml"));
    right.load(path("out/right.yml"));
    EXPECT_EQ(cv::Size(left.width, left.height), cv::Size(640, 480));
    EXPECT_EQ(left.distortion.total(), 5U);
    const double metres = -right.projectionMatrix.at<float>(0, 3) / right.projectionMatrix.at<float>(0, 0);
    EXPECT_NEAR(1000 * metres, valueOf("baseline: ", outcome.out), 0.01); // what is printed has two digits
}

TEST_F(Tool, SkipsPairsThatCannotBeUsed)
{
    std::ofstream(path("broken.jpg")) << "\xFF\xD8\xFF";
    cv::Mat moved = cv::imread(path("images/right08.jpg"), cv::IMREAD_GRAYSCALE);
    moved.rowRange(6, moved.rows).clone().copyTo(moved.rowRange(0, moved.rows - 6));
    cv::imwrite(path("moved.png"), moved);
    const Outcome outcome =
        run(calibrateOptions + " --left images/left0[1-9].jpg images/fruits.jpg broken.jpg images/box.png" +
            " --right images/right0[1-7].jpg moved.png images/right12.jpg images/home.jpg r.jpg " +
            "images/box_in_scene.png");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.err,
                AllOf(HasSubstr("broken.jpg: "), HasSubstr("box.png is "), HasSubstr("fruits.jpg")));
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("pairs used: 7 of 12\n"), HasSubstr("right12.jpg: does not fit"),
                                   HasSubstr("moved.png: does not fit")));
    EXPECT_NEAR(valueOf("baseline: ", outcome.out), 83.2, 0.5);
}

TEST_F(DepthTool, ComputesThePlane)
{
    // The last search begins at the plane's disparity, as the matcher gets one less than the minimum.
    for (const char* search :
         {"--disparities 48", "--disparities 48 --algorithm sgbm", "--disparities 16 --min-disparity 21"}) {
        const Outcome outcome = run(depthOptions + "--force --window 9 " + search);
        EXPECT_EQ(outcome.code, 0);
        EXPECT_EQ(outcome.err, "");
        EXPECT_THAT(outcome.out,
                    AllOf(HasSubstr("depth median 1.500 m"), HasSubstr("wrote out/l-points.ply")));
        EXPECT_GT(valueOf("matched ", outcome.out), 70) << search;
        EXPECT_THAT(listOutput(), testing::UnorderedElementsAreArray(outputs));
    }
}

TEST_F(DepthTool, WritesTheSameDepthToAllFiles)
{
    cv::Mat colour;
    cv::merge(std::vector<cv::Mat>{left / 2, left / 3, left}, colour);
    write(colour, right);
    const Outcome outcome = run(depthOptions + "--disparities 48 --window 9");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.err, HasSubstr("colour"));

    const cv::Mat disparity = readPfm(path("out/l-disparity.pfm"), sceneSize);
    EXPECT_EQ(disparity.at<float>(120, 200), sceneDisparity);
    EXPECT_EQ(disparity.at<float>(120, 10), INFINITY); // has no partner in the right image
    const cv::Mat matched = disparity < INFINITY;
    const double percent = 100.0 * cv::countNonZero(matched) / static_cast<double>(matched.total());
    EXPECT_NEAR(valueOf("matched ", outcome.out), percent, 0.05); // what is printed has one digit

    cv::Mat fromPoints(sceneSize, CV_32FC1, cv::Scalar(INFINITY));
    for (const Point& point : readPly(path("out/l-points.ply"))) {
        const cv::Point pixel(cvRound(focalLength * point.x / point.z + 160),
                              cvRound(focalLength * point.y / point.z + 120));
        fromPoints.at<float>(pixel) = focalLength * baseline / point.z;
        const auto& bgr = colour.at<cv::Vec3b>(pixel); // these calibrations leave images as they are
        ASSERT_EQ(cv::Vec3b(point.blue, point.green, point.red), bgr) << pixel;
    }
    constexpr float rounding = 1e-3f; // of single precision, there and back; far below the matcher's 1/16 px
    const cv::Mat trusted = matched & (disparity >= focalLength * baseline / 5); // the default maximum depth
    cv::Mat expected(sceneSize, CV_32FC1, cv::Scalar(INFINITY));
    disparity.copyTo(expected, trusted);
    cv::Mat differs = expected != fromPoints;
    differs.setTo(0, cv::abs(expected - fromPoints) < rounding);
    EXPECT_EQ(cv::countNonZero(differs), 0);

    const cv::Mat picture = cv::imread(path("out/l-disparity.png"))(cv::Rect({0, 0}, sceneSize));
    cv::Mat coloured;
    cv::inRange(picture, cv::Scalar::all(0), cv::Scalar::all(0), coloured);
    EXPECT_EQ(cv::countNonZero((coloured == 0) != matched), 0);
    EXPECT_EQ(cv::imread(path("out/l-rectified.png")).size(),
              cv::Size(2 * sceneSize.width, sceneSize.height));
}

TEST_F(DepthTool, TakesDeepAlphaAndSmallImages)
{
    const auto expectPlane = [this](const std::string& options, const std::string& note) {
        const Outcome outcome = run(depthOptions + "--force --disparities 48 --window 9 " + options);
        EXPECT_EQ(outcome.code, 0);
        EXPECT_THAT(outcome.err, HasSubstr(note));
        EXPECT_THAT(outcome.out, HasSubstr("depth median 1.500 m"));
    };
    cv::Mat deep[2];
    left.convertTo(deep[0], CV_16U, 4095 / 255.0);
    right.convertTo(deep[1], CV_16U, 4095 / 255.0);
    write(deep[0], deep[1]);
    expectPlane("", "16-bit");
    const cv::Mat shown = cv::imread(path("out/l-rectified.png"), cv::IMREAD_GRAYSCALE);
    EXPECT_EQ(cv::norm(shown.row(0).colRange(0, sceneSize.width), left.row(0), cv::NORM_INF), 0);
    cv::Mat alpha;
    cv::cvtColor(left, alpha, cv::COLOR_GRAY2BGRA);
    write(alpha, right);
    expectPlane("", "alpha");
    expectPlane("--resize 0.5", "alpha");
    EXPECT_EQ(readPfm(path("out/l-disparity.pfm"), sceneSize / 2).size(), sceneSize / 2);
}

TEST_F(DepthTool, GoesOnAfterAnImageThatFails)
{
    for (const std::string name : {"wide", "wide2"}) {
        cv::imwrite(path(name + ".png"), cv::Mat::zeros(sceneSize * 2, CV_8U));
    }
    cv::imwrite(path("high.png"), cv::Mat::zeros(300, 320, CV_8U));
    std::ofstream(path("empty.png")).flush();
    std::ofstream(path("cut.png")) << support::readFile(path("l.png")).substr(0, 20000);
    const std::string rest =
        " --disparities 48 --output out --left missing.png empty.png cut.png wide.png high.png . ";
    const std::string partners = "--right r.png r.png r.png wide2.png r.png r.png ";
    const auto complains = AllOf(HasSubstr("missing.png: "), HasSubstr("empty.png: is empty"),
                                 HasSubstr("cut.png: the image is damaged"), HasSubstr("wide.png: "),
                                 HasSubstr("high.png is 320 x 300"), HasSubstr(".: "));

    Outcome outcome = run(calibrationOptions + rest + partners);
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.err, complains);
    EXPECT_THAT(listOutput(), testing::IsEmpty());

    outcome = run(calibrationOptions + rest + "l.png " + partners + "r.png");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.err, complains);
    EXPECT_THAT(listOutput(), testing::UnorderedElementsAreArray(outputs));
}

TEST_F(DepthTool, KeepsExistingFilesUnlessForced)
{
    std::filesystem::create_directory(path("out"));
    std::ofstream(path("out/l-points.ply")) << "precious";
    Outcome outcome = run(depthOptions);
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("out/l-points.ply"), HasSubstr("--force")));
    EXPECT_EQ(support::readFile(path("out/l-points.ply")), "precious");
    EXPECT_THAT(listOutput(), testing::ElementsAre("l-points.ply"));
    EXPECT_EQ(run(depthOptions + "--force").code, 0);
    EXPECT_GT(readPly(path("out/l-points.ply")).size(), 0U);
}

TEST_F(DepthTool, LeavesNothingBehindWhenADiskIsFull)
{
    const std::string pairs = " --left images/left0[1-4].jpg --right images/right0[1-4].jpg";
    for (const std::string& arguments : {depthOptions, calibrateOptions + pairs}) {
        const Outcome outcome = run(arguments, "trap '' XFSZ; ulimit -f 1; "); // files end after 512 bytes
        EXPECT_EQ(outcome.code, 2);
        EXPECT_THAT(outcome.err, HasSubstr("cannot write"));
        EXPECT_FALSE(std::filesystem::exists(path("out")));
    }
    EXPECT_EQ(run(depthOptions + ">/dev/full").code, 1);
}

TEST_F(DepthTool, TellsWhatTheLibraryDoesWhenVerbose)
{
    EXPECT_THAT(run(depthOptions + "--verbose").err,
                AllOf(HasSubstr("Load calibration file"), HasSubstr("Compute disparity (BM)")));
}

TEST_F(Tool, ExplainsItself)
{
    for (const std::string command : {"", "calibrate ", "depth "}) {
        const Outcome outcome = run(command + "--help");
        EXPECT_EQ(outcome.code, 0);
        EXPECT_THAT(outcome.out, AllOf(HasSubstr("Usage: stereovision"), HasSubstr("Example: stereovision")));
    }
    EXPECT_EQ(run("--version").out, "stereovision " STEREOVISION_VERSION "\n");
}

struct Misuse
{
    const char* name;
    const char* arguments; ///< with shell variables for what several have in common
    const char* complaint;
};

void PrintTo(const Misuse& misuse, std::ostream* stream)
{
    *stream << misuse.arguments;
}

class MisusedTool : public DepthTool, public testing::WithParamInterface<Misuse>
{
};

TEST_P(MisusedTool, SaysWhatToChangeAndWritesNothing)
{
    std::ofstream(path("text.yml")) << "no calibration";
    const std::string whole = support::readFile(path("right.yml"));
    std::ofstream(path("partial.yml")) << whole.substr(0, whole.find("projectionMatrix"));
    const std::string variables =
        "DEPTH='" + depthOptions + "'; PAIR='--left l.png --right r.png --output out'; " + "CALIBRATE='" +
        calibrateOptions + "'; LEFT='--left-calibration'; RIGHT='--right-calibration'; ";
    const Outcome outcome = run(GetParam().arguments, variables);
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("stereovision: error: "), HasSubstr(GetParam().complaint)));
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(listOutput(), testing::IsEmpty());
}

const Misuse misuses[] = {
    {"NoSubcommand", "", "subcommand"},
    {"UnknownSubcommand", "measure", "measure"},
    {"NoOptions", "depth", "required"},
    {"UnknownOption", "$DEPTH --colour", "--colour"},
    {"EvenWindow", "$DEPTH --window 4", "--window 4"},
    {"NoNumber", "$DEPTH --window x", "--window"},
    {"UnevenDisparities", "$DEPTH --disparities 20", "--disparities 20"},
    {"TooManyDisparities", "$DEPTH --disparities 320", "--disparities"},
    {"TooSmallBlock", "$DEPTH --resize 0.5 --window 5", "larger --window"},
    {"TooLargeBlock", "$DEPTH --window 255", "smaller --window"},
    {"EvenBlockOfThirdSize", "$DEPTH --resize 0.3", "sgbm"},
    {"NoWholePixels", "$DEPTH --resize 0.33", "--resize"},
    {"NoDepth", "$DEPTH --max-depth 0", "--max-depth"},
    {"UnknownUnit", "$DEPTH --max-depth 5ft", "5ft"},
    {"TooNear", "$DEPTH --max-depth 1mm", "--max-depth 1mm"},
    {"NanDepth", "$DEPTH --max-depth nan", "nan"},
    {"MinDisparity", "$DEPTH --min-disparity -321", "--min-disparity -321"},
    {"PrefilterCap", "$DEPTH --prefilter-cap 64", "--prefilter-cap 64"},
    {"PrefilterSize", "$DEPTH --prefilter-size 4", "--prefilter-size 4"},
    {"SpeckleRange", "$DEPTH --speckle-range 32", "--speckle-range 32"},
    {"SpeckleWindow", "$DEPTH --speckle-window 1001", "--speckle-window 1001"},
    {"Texture", "$DEPTH --texture-threshold -1", "--texture-threshold -1"},
    {"Uniqueness", "$DEPTH --uniqueness 101", "--uniqueness 101"},
    {"P1", "$DEPTH --p1 -1", "--p1 -1"},
    {"P2", "$DEPTH --p2 -1", "--p2 -1"},
    {"Algorithm", "$DEPTH --algorithm census", "census"},
    {"UnequalCounts", "$DEPTH --left l.png", "--right"},
    {"SameNames", "$DEPTH --left l.png --right r.png", "--output"},
    {"SameImage", "depth $LEFT left.yml $RIGHT right.yml --left l.png --right l.png --output out", "l.png: "},
    {"OutputIsAFile", "depth $LEFT left.yml $RIGHT right.yml --left l.png --right r.png --output r.png",
     "r.png: "},
    {"MissingCalibration", "depth $LEFT none.yml $RIGHT right.yml $PAIR", "none.yml: "},
    {"NoCalibration", "depth $LEFT text.yml $RIGHT right.yml $PAIR", "text.yml: "},
    {"PartialCalibration", "depth $LEFT left.yml $RIGHT partial.yml $PAIR", "partial.yml: "},
    {"FolderAsCalibration", "depth $LEFT . $RIGHT right.yml $PAIR", "folder"},
    {"SameCalibration", "depth $LEFT left.yml $RIGHT left.yml $PAIR", "twice"},
    {"SwappedCalibrations", "depth $LEFT right.yml $RIGHT left.yml $PAIR", "swapped"},
    {"SwappedCameras", "$CALIBRATE --left images/right0[1-4].jpg --right images/left0[1-4].jpg", "swap"},
    {"NoUnit", "calibrate --board 9x6 --square 25 $PAIR", "--square"},
    {"NoBoardSize", "calibrate --board 9 --square 25mm $PAIR", "--board"},
    {"TooSmallBoard", "calibrate --board 9x2 --square 25mm $PAIR", "--board"},
};
INSTANTIATE_TEST_SUITE_P(Each, MisusedTool, testing::ValuesIn(misuses),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace
