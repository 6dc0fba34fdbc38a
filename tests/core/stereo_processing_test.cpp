// SPDX-License-Identifier: Apache-2.0
#include "support/log_records.h"
#include "support/matrices.h"
#include "support/oracle.h"
#include "support/scene.h"

using namespace support;
using vision::Stereo;

namespace {

const cv::Size calibrationSize(720, 540);

CalibrationPair calibrations()
{
    auto pair = makeCalibrations(calibrationSize.width, calibrationSize.height);
    pair.right.projectionMatrix.at<float>(0, 0) *= 1.01f; // it is the left focal length that counts
    return pair;
}

/// A hard picture of the plane: noise and a patch without texture give every filter something to do.
cv::Mat hardPicture(const Plane& plane, const vision::Calibration& camera, cv::Size size)
{
    cv::Mat picture = photograph(plane, camera);
    picture(cv::Rect(200, 150, 200, 120)) = 90;
    cv::Mat noise(picture.size(), CV_8UC1);
    cv::RNG(static_cast<unsigned>(camera.projectionMatrix.at<float>(0, 2)))
        .fill(noise, cv::RNG::UNIFORM, 0, 24);
    cv::resize(picture + noise, picture, size, 0, 0, cv::INTER_AREA);
    return picture;
}

void setTellingParameters(Stereo& stereo, Stereo::StereoAlgorithm algorithm)
{
    stereo.setStereoAlgorithm(algorithm);
    stereo.setMaxDepth(2.7f);
    stereo.setMinDisparity(13);
    stereo.setDisparityNumber(112);
    stereo.setWindowSize(15);
    stereo.setSpeckleRange(5);
    stereo.setSpeckleWindowSize(300);
    stereo.setPreFilterCap(23);
    stereo.setPreFilterSize(11);
    stereo.setTextureThreshold(300);
    stereo.setUniquenessRatio(7);
    stereo.setP1(100); // from here on without any effect
    stereo.setP2(200);
    stereo.setDisp12MaxDiff(20);
    stereo.setFullDP(true);
}

using StereoPipeline = testing::TestWithParam<std::tuple<int, Stereo::StereoAlgorithm>>;

TEST_P(StereoPipeline, MatchesTheDirectOpenCvCallsBitForBit)
{
    const auto [width, algorithm] = GetParam();
    const cv::Size size(width, width * 3 / 4);
    const auto pair = calibrations();
    const Plane plane{2.5, 0.15};
    const cv::Mat left = hardPicture(plane, pair.left, size);
    const cv::Mat right = hardPicture(plane, pair.right, size);
    const cv::Mat rectifiedLeft = oracle::rectify(left, oracle::maps(pair.left, size));
    const cv::Mat rectifiedRight = oracle::rectify(right, oracle::maps(pair.right, size));
    OpenStereo stereo(pair);
    setTellingParameters(stereo, algorithm);
    RecordedLog log;

    const auto rectified = stereo.rectifyImages(left, right);
    EXPECT_TRUE(areBitEqual(rectified.first, rectifiedLeft));
    EXPECT_TRUE(areBitEqual(rectified.second, rectifiedRight));
    EXPECT_TRUE(areBitEqual(stereo.rectifyImageLeft(left), rectifiedLeft));
    EXPECT_TRUE(areBitEqual(stereo.rectifyImageRight(right), rectifiedRight));

    const auto match = [&] { return stereo.computeDisparity(rectifiedLeft, rectifiedRight); };
    if (algorithm == Stereo::BM && width == 240) {
        // A third of the width makes every window even, which the block matcher refuses.
        const auto expected = [&] { oracle::disparity(stereo, 720, rectifiedLeft, rectifiedRight); };
        const std::string text = textThrownBy<cv::Exception>(expected);
        const std::string logged = "Error in block matching algorithm: " + text;
        expectRefusal<cv::Exception>(match, text, {stereoError("computeDisparity", logged)});
        return;
    }
    log.take();
    const cv::Mat disparity = match();
    const std::string matcher = algorithm == Stereo::BM ? "BM" : "SGBM";
    EXPECT_EQ(log.take(),
              LogEntries{stereoVerbose("computeDisparity", "Compute disparity (" + matcher + ")...")});
    EXPECT_TRUE(areBitEqual(disparity, oracle::disparity(stereo, 720, rectifiedLeft, rectifiedRight)));

    const cv::Mat depth = stereo.computeDepth(disparity);
    EXPECT_TRUE(
        areBitEqual(depth, oracle::depth(disparity, oracle::reprojection(pair, size), 2.7f, 13, 720)));
    const double kept = cv::mean(depth.reshape(1) != 0)[0] / 255;
    EXPECT_TRUE(0.3 < kept && kept < 0.9) << kept << ": both kept and blanked pixels must be compared";

    stereo.setDisparityNumber(16); // the least that is ever searched
    EXPECT_TRUE(areBitEqual(match(), oracle::disparity(stereo, 720, rectifiedLeft, rectifiedRight)));
}

INSTANTIATE_TEST_SUITE_P(Sizes, StereoPipeline,
                         testing::Combine(testing::Values(720, 540, 360, 240, 180),
                                          testing::Values(Stereo::BM, Stereo::SGBM)));

TEST(StereoProcessing, RefusesUnusableImages)
{
    const cv::Mat grey(270, 360, CV_8UC1), wide(270, 721, CV_8UC1), colour(270, 360, CV_8UC3);
    const cv::Mat deep(270, 360, CV_16UC1), wideReal(270, 721, CV_32FC1), points(270, 360, CV_32FC3), none;
    const int extents[] = {2, 3, 4};
    const cv::Mat cube(3, extents, CV_8UC1);
    const std::string size = "Both image don't have the same size.";
    const std::string sizes = "Both images must have the same size.";
    const std::string type = "Both images don't have the same type.";
    const std::string types = "Both images must have the same type.";
    const std::string real = "Wrong disparity image type, need CV_32FC1.";
    const std::string rectify = "rectifyImages", match = "computeDisparity", reproject = "computeDepth";
    struct
    {
        std::string method;
        cv::Mat left, right;
        std::string thrown, logged = thrown;
    } const rows[] = {
        {rectify, grey, colour.t(), size, sizes},
        {rectify, grey, colour, type, types},
        {match, grey, deep.t(), size, sizes},
        {match, colour, colour, "Wrong rectify type, need CV_8UC1 rectify.", ""},
        {match, grey, deep, "Wrong rectify type, need CV_8UC1 rectify.", ""},
        {match, cube, cube, "Images must have two dimensions."},
        {match, none, none, "Images must not be empty."},
        {match, wide, wide, "Images must not be wider than the calibration."},
        {reproject, deep, none, real},
        {reproject, points, none, real},
        {reproject, wideReal, none, "Images must not be wider than the calibration."},
    };
    const OpenStereo stereo(calibrations());
    using Images = const cv::Mat&;
    const std::map<std::string, std::function<void(Images, Images)>> calls{
        {rectify, [&](Images left, Images right) { (void)stereo.rectifyImages(left, right); }},
        {match, [&](Images left, Images right) { (void)stereo.computeDisparity(left, right); }},
        {reproject, [&](Images disparity, Images) { (void)stereo.computeDepth(disparity); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.method + ": " + row.thrown);
        const LogEntries logged(row.logged.empty() ? 0 : 1, stereoError(row.method, row.logged));
        expectRefusal<std::invalid_argument>(
            [&] { calls.at(row.method)(row.left, row.right); }, row.thrown, logged);
        EXPECT_TRUE(stereo._imageTransforms.empty());
    }
    const std::string unset = "Calibrations must be set before images are processed.";
    expectRefusal<std::invalid_argument>(
        [&] { (void)Stereo().computeDisparity(grey, grey); }, unset, {stereoError(match, unset)});
}

TEST(StereoDisparity, OfRangesBeyondTheImagesOrAnIntegerIsEmptyOrRefused)
{
    OpenStereo stereo(calibrations());
    const cv::Mat image(30, 720, CV_8UC1, cv::Scalar(7));
    const auto match = [&] { return stereo.computeDisparity(image, image); };
    for (const auto algorithm : {Stereo::BM, Stereo::SGBM}) {
        stereo.setStereoAlgorithm(algorithm);
        stereo.setMinDisparity(720);
        stereo.setDisparityNumber(2147483632);
        EXPECT_THROW(match(), cv::Exception);
        stereo.setMinDisparity(16); // 15 for the matcher, and an int holds the sum just so
        EXPECT_EQ(cv::norm(match() - 14, cv::NORM_INF), 0) << "nothing but pixels without a match";
    }
    stereo.setStereoAlgorithm(static_cast<Stereo::StereoAlgorithm>(2));
    EXPECT_TRUE(match().empty());
}

constexpr double shareFound = 0.5; // the matcher's filters take the rest

/// Also where it can search less than half a block: there it finds by how much one image is shifted.
TEST(StereoDisparity, OfTheSemiGlobalMatcherReachesTheRightBorderOfNarrowImages)
{
    struct
    {
        cv::Size size;
        int minDisparity, shift;
        int searched; ///< columns with the whole range inside the images
        int window = 21, scale = 1;
    } const rows[] = {
        {{80, 60}, 1, 40, 0},
        {{81, 60}, 1, 40, 1},
        {{85, 60}, 1, 40, 5},
        {{88, 72}, 1, 40, 8},
        {{90, 60}, 1, 79, 10},
        {{91, 60}, 1, 79, 11}, // the first that the matcher takes as it is
        {{96, 72}, 12, 60, 5},
        {{100, 100}, 12, 60, 9},
        {{90, 50}, -16, 20, 10, 31},
        {{100, 50}, -92, -20, 7},
        {{34, 24}, 1, 20, 2, 5, 8}, // the matcher takes its window of -3 for 5
        {{50, 24}, 1, 20, 0, 5, 5}, // and that of 0, with which it finds little
    };
    cv::Mat texture(100, 300, CV_8UC1);
    cv::RNG(1).fill(texture, cv::RNG::UNIFORM, 0, 256);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.size);
        const int width = row.size.width * row.scale;
        OpenStereo stereo(makeCalibrations(width, row.size.height * row.scale));
        stereo.setStereoAlgorithm(Stereo::SGBM);
        stereo.setMinDisparity(row.minDisparity);
        stereo.setWindowSize(row.window);
        stereo.setSpeckleWindowSize(0);                             // so few columns would be a speckle
        const cv::Mat left = texture(cv::Rect({100, 0}, row.size)); // with other pixels around it
        const cv::Mat right = texture(cv::Rect({100 + row.shift, 0}, row.size));
        const cv::Mat disparity = stereo.computeDisparity(left, right);
        EXPECT_TRUE(areBitEqual(disparity, oracle::disparity(stereo, width, left, right)));
        EXPECT_GE(cv::countNonZero(disparity == row.shift), shareFound * row.searched * row.size.height);
    }
}

TEST(StereoDisparity, OfImagesBeyondTheCoordinatesOfTheSpeckleFilterNeedsItOff)
{
    const std::string refusal = "Speckles can be filtered in at most 32767 rows and columns: match smaller "
                                "images or set the speckle window size to 0.";
    struct
    {
        cv::Size size;
        Stereo::StereoAlgorithm algorithm;
        int speckleWindow;
        bool isRefused;
        int minDisparity = 1;
    } const rows[] = {
        {{32767, 24}, Stereo::BM, 400, false},
        {{64, 32767}, Stereo::SGBM, 400, false},
        {{40000, 24}, Stereo::BM, 0, false},
        {{40000, 24}, Stereo::SGBM, 0, false},
        {{40000, 200}, Stereo::BM, 400, true},
        {{20, 33000}, Stereo::SGBM, 1, true},
        {{32767, 24}, Stereo::SGBM, 1, true, 32751}, // which adds columns
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.size);
        cv::Mat texture(row.size + cv::Size(3, 0), CV_8UC1);
        cv::RNG(1).fill(texture, cv::RNG::UNIFORM, 0, 256);
        const cv::Mat left = texture.colRange(0, row.size.width), right = texture.colRange(3, texture.cols);
        OpenStereo stereo(makeCalibrations(row.size.width, row.size.height));
        stereo.setStereoAlgorithm(row.algorithm);
        stereo.setMinDisparity(row.minDisparity);
        stereo.setDisparityNumber(16);
        stereo.setWindowSize(9); // small for these images: their results are repeatable
        stereo.setSpeckleWindowSize(row.speckleWindow);
        const auto match = [&] { return stereo.computeDisparity(left, right); };
        if (row.isRefused) {
            expectRefusal<std::invalid_argument>(match, refusal, {stereoError("computeDisparity", refusal)});
        } else {
            EXPECT_TRUE(areBitEqual(match(), oracle::disparity(stereo, row.size.width, left, right)));
        }
    }
}

} // namespace
