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
    return makeCalibrations(calibrationSize.width, calibrationSize.height);
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
    const OpenStereo stereo(calibrations());
    const auto expect = [](const OpenStereo& refusing, const auto& call, const std::string& function,
                           const std::string& thrown, const LogEntries& logged) {
        SCOPED_TRACE(function + ": " + thrown);
        expectRefusal<std::invalid_argument>([&] { (void)call(refusing); }, thrown, logged);
        EXPECT_TRUE(refusing._imageTransforms.empty());
    };
    const auto expectSame = [&](const OpenStereo& refusing, const auto& call, const std::string& function,
                                const std::string& text) {
        expect(refusing, call, function, text, {stereoError(function, text)});
    };
    const auto rectify = [](const cv::Mat& left, const cv::Mat& right) {
        return [=](const Stereo& s) { return s.rectifyImages(left, right); };
    };
    const auto match = [](const cv::Mat& left, const cv::Mat& right) {
        return [=](const Stereo& s) { return s.computeDisparity(left, right); };
    };
    const auto reproject = [](const cv::Mat& disparity) {
        return [=](const Stereo& s) { return s.computeDepth(disparity); };
    };
    const cv::Mat grey(270, 360, CV_8UC1), wideGrey(270, 721, CV_8UC1), colour(270, 360, CV_8UC3);
    const cv::Mat deep(270, 360, CV_16UC1), wideReal(270, 721, CV_32FC1), real(270, 360, CV_32FC1);
    const int extents[] = {2, 3, 4};
    const cv::Mat cube(3, extents, CV_8UC1), realCube(3, extents, CV_32FC1);

    const std::string size = "Both image don't have the same size.";
    const std::string loggedSize = "Both images must have the same size.";
    expect(stereo, rectify(grey, colour.t()), "rectifyImages", size,
           {stereoError("rectifyImages", loggedSize)});
    expect(stereo, match(grey, deep.t()), "computeDisparity", size,
           {stereoError("computeDisparity", loggedSize)});
    expect(stereo, rectify(grey, colour), "rectifyImages", "Both images don't have the same type.",
           {stereoError("rectifyImages", "Both images must have the same type.")});
    const std::string type = "Wrong rectify type, need CV_8UC1 rectify.";
    expect(stereo, match(colour, colour), "computeDisparity", type, {});
    expect(stereo, match(grey, deep), "computeDisparity", type, {});
    const std::string realType = "Wrong disparity image type, need CV_32FC1.";
    expectSame(stereo, reproject(deep), "computeDepth", realType);
    expectSame(stereo, reproject(cv::Mat(270, 360, CV_32FC3)), "computeDepth", realType);
    const std::string empty = "Images must not be empty.";
    expectSame(stereo, match({}, {}), "computeDisparity", empty);
    expectSame(stereo, reproject(cv::Mat(0, 0, CV_32FC1)), "computeDepth", empty);
    const std::string dimensions = "Images must have two dimensions.";
    expectSame(stereo, match(cube, cube), "computeDisparity", dimensions);
    expectSame(stereo, reproject(realCube), "computeDepth", dimensions);
    const std::string wide = "Images must not be wider than the calibration.";
    expectSame(stereo, match(wideGrey, wideGrey), "computeDisparity", wide);
    expectSame(stereo, reproject(wideReal), "computeDepth", wide);
    const std::string unset = "Calibrations must be set before images are processed.";
    expectSame({}, match(grey, grey), "computeDisparity", unset);
    expectSame({}, reproject(real), "computeDepth", unset);
}

TEST(StereoDisparity, RefusesRangesAndWindowsThatLeaveTheMatchersBuffers)
{
    OpenStereo stereo(calibrations());
    const cv::Mat image(30, 720, CV_8UC1, cv::Scalar(7));
    const auto match = [&] { return stereo.computeDisparity(image, image); };
    for (const auto algorithm : {Stereo::BM, Stereo::SGBM}) {
        stereo.setStereoAlgorithm(algorithm);
        stereo.setMinDisparity(720);
        stereo.setDisparityNumber(2147483632);
        EXPECT_THROW(match(), cv::Exception);
        stereo.setMinDisparity(1); // 0 for the matcher
        EXPECT_EQ(cv::norm(match(), cv::NORM_INF), 1) << "nothing but pixels without a match";
    }
    stereo.setDisparityNumber(640); // leaves 80 columns
    stereo.setWindowSize(161);
    EXPECT_THROW(match(), cv::Exception);
    stereo.setWindowSize(159);
    EXPECT_EQ(match().cols, 720);
}

TEST(StereoDisparity, IsEmptyAndSilentForAnUnknownAlgorithm)
{
    OpenStereo stereo(calibrations());
    stereo.setStereoAlgorithm(static_cast<Stereo::StereoAlgorithm>(2));
    RecordedLog log;
    const cv::Mat image(270, 360, CV_8UC1, cv::Scalar(1));
    EXPECT_TRUE(stereo.computeDisparity(image, image).empty());
    EXPECT_EQ(log.take(), LogEntries());
}

} // namespace
