#include "support/log_records.h"
#include "support/matrices.h"
#include "support/oracle.h"
#include "support/scene.h"

#include <gtest/gtest.h>

using support::areBitEqual;
using support::expectRefusal;
using support::OpenStereo;
using support::stereoError;
using support::stereoVerbose;
using vision::Stereo;

namespace {

const cv::Size calibrationSize(720, 540);

support::CalibrationPair calibrations()
{
    return support::makeCalibrations(calibrationSize.width, calibrationSize.height);
}

/// A hard picture of the plane: noise and a patch without texture give every filter something to do.
cv::Mat hardPicture(const support::Plane& plane, const vision::Calibration& camera, cv::Size size)
{
    cv::Mat picture = support::photograph(plane, camera);
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
    stereo.setDisp12MaxDiff(1);
    stereo.setFullDP(true);
}

using StereoPipeline = testing::TestWithParam<std::tuple<int, Stereo::StereoAlgorithm>>;

TEST_P(StereoPipeline, MatchesTheDirectOpenCvCallsBitForBit)
{
    const auto [width, algorithm] = GetParam();
    const cv::Size size(width, width * 3 / 4);
    const auto pair = calibrations();
    OpenStereo stereo(pair);
    setTellingParameters(stereo, algorithm);
    const support::Plane plane{2.5, 0.15};
    const cv::Mat left = hardPicture(plane, pair.left, size);
    const cv::Mat right = hardPicture(plane, pair.right, size);
    support::RecordedLog log;

    const auto [rectifiedLeft, rectifiedRight] = stereo.rectifyImages(left, right);
    EXPECT_TRUE(
        areBitEqual(rectifiedLeft, support::oracle::rectify(left, support::oracle::maps(pair.left, size))));
    EXPECT_TRUE(areBitEqual(rectifiedRight,
                            support::oracle::rectify(right, support::oracle::maps(pair.right, size))));
    EXPECT_TRUE(areBitEqual(stereo.rectifyImageLeft(left), rectifiedLeft));
    EXPECT_TRUE(areBitEqual(stereo.rectifyImageRight(right), rectifiedRight));
    EXPECT_EQ(log.take().size(), 1U);

    cv::Mat expected;
    try {
        expected = support::oracle::disparity(stereo, 720, rectifiedLeft, rectifiedRight);
    } catch (const cv::Exception& error) {
        // A third of the width makes every window even, which the block matcher refuses.
        EXPECT_TRUE(algorithm == Stereo::BM && width == 240);
        expectRefusal<cv::Exception>(
            [&, images = std::pair(rectifiedLeft, rectifiedRight)] {
                (void)stereo.computeDisparity(images.first, images.second);
            },
            error.what(),
            {stereoError("computeDisparity",
                         std::string("Error in block matching algorithm: ") + error.what())});
        return;
    }
    const cv::Mat disparity = stereo.computeDisparity(rectifiedLeft, rectifiedRight);
    EXPECT_TRUE(areBitEqual(disparity, expected));
    EXPECT_EQ(log.take(), support::LogEntries{stereoVerbose(
                              "computeDisparity", algorithm == Stereo::BM ? "Compute disparity (BM)..."
                                                                          : "Compute disparity (SGBM)...")});

    const cv::Mat depth = stereo.computeDepth(disparity);
    EXPECT_TRUE(areBitEqual(
        depth, support::oracle::depth(disparity, support::oracle::reprojection(pair, size), 2.7f, 13, 720)));
    const double kept = cv::mean(depth.reshape(1) != 0)[0] / 255;
    EXPECT_TRUE(0.3 < kept && kept < 0.9) << kept << ": both kept and blanked pixels must be compared";
}

INSTANTIATE_TEST_SUITE_P(Sizes, StereoPipeline,
                         testing::Combine(testing::Values(720, 540, 360, 240, 180),
                                          testing::Values(Stereo::BM, Stereo::SGBM)));

TEST(StereoRectification, KeepsTheImageType)
{
    const auto pair = calibrations();
    const OpenStereo stereo(pair);
    const auto maps = support::oracle::maps(pair.right, calibrationSize);
    for (const int type : {CV_8UC3, CV_16UC1, CV_32FC4}) {
        cv::Mat image(calibrationSize, type);
        cv::randu(image, cv::Scalar::all(1), cv::Scalar::all(200));
        EXPECT_TRUE(areBitEqual(stereo.rectifyImageRight(image), support::oracle::rectify(image, maps)));
    }
}

/// A call that is refused before it changes anything.
struct RefusedCall
{
    std::function<void(const Stereo&)> call;
    std::string function;
    std::string thrown;
    std::string logged; ///< none when empty
};

std::function<void(const Stereo&)> rectify(const cv::Mat& left, const cv::Mat& right)
{
    return [=](const Stereo& stereo) { (void)stereo.rectifyImages(left, right); };
}

std::function<void(const Stereo&)> match(const cv::Mat& left, const cv::Mat& right)
{
    return [=](const Stereo& stereo) { (void)stereo.computeDisparity(left, right); };
}

std::function<void(const Stereo&)> reproject(const cv::Mat& disparity)
{
    return [=](const Stereo& stereo) { (void)stereo.computeDepth(disparity); };
}

TEST(StereoProcessing, RefusesUnusableImages)
{
    const auto image = [](int type, int width = 360, int height = 270) {
        return cv::Mat(height, width, type, cv::Scalar(1));
    };
    const int extents[] = {2, 3, 4};
    const cv::Mat cube(3, extents, CV_8UC1, cv::Scalar(1));
    const cv::Mat floatCube(3, extents, CV_32FC1, cv::Scalar(1));
    const std::string size = "Both image don't have the same size.";
    const std::string sizeLog = "Both images must have the same size.";
    const std::string type = "Both images don't have the same type.";
    const std::string typeLog = "Both images must have the same type.";
    const std::string grey = "Wrong rectify type, need CV_8UC1 rectify.";
    const std::string real = "Wrong disparity image type, need CV_32FC1.";
    const std::string empty = "Images must not be empty.";
    const std::string dims = "Images must have two dimensions.";
    const std::string wide = "Images must not be wider than the calibration.";
    const std::string unset = "Calibrations must be set before images are processed.";
    const RefusedCall calls[] = {
        {rectify(image(0), image(CV_8UC3, 180, 135)), "rectifyImages", size, sizeLog},
        {rectify(image(0), image(CV_8UC3)), "rectifyImages", type, typeLog},
        {match(image(0), image(CV_16UC1, 360, 271)), "computeDisparity", size, sizeLog},
        {match(image(CV_8UC3), image(CV_8UC3)), "computeDisparity", grey, ""},
        {match(image(0), image(CV_16UC1)), "computeDisparity", grey, ""},
        {match(cv::Mat(), cv::Mat()), "computeDisparity", empty, empty},
        {match(cube, cube), "computeDisparity", dims, dims},
        {match(image(0, 721), image(0, 721)), "computeDisparity", wide, wide},
        {reproject(image(CV_16SC1)), "computeDepth", real, real},
        {reproject(image(CV_32FC3)), "computeDepth", real, real},
        {reproject(cv::Mat(0, 0, CV_32FC1)), "computeDepth", empty, empty},
        {reproject(floatCube), "computeDepth", dims, dims},
        {reproject(image(CV_32FC1, 721)), "computeDepth", wide, wide},
    };
    const OpenStereo stereo(calibrations());
    const auto expectRefused = [](const OpenStereo& refusing, const RefusedCall& row) {
        SCOPED_TRACE(row.function + ": " + row.thrown);
        expectRefusal<std::invalid_argument>(
            [&] { row.call(refusing); }, row.thrown,
            row.logged.empty() ? support::LogEntries()
                               : support::LogEntries{stereoError(row.function, row.logged)});
        EXPECT_TRUE(refusing._imageTransforms.empty());
    };
    for (const RefusedCall& row : calls) {
        expectRefused(stereo, row);
    }
    expectRefused({}, {match(image(0), image(0)), "computeDisparity", unset, unset});
    expectRefused({}, {reproject(image(CV_32FC1)), "computeDepth", unset, unset});
}

TEST(StereoDisparity, IsEmptyAndSilentForAnUnknownAlgorithm)
{
    OpenStereo stereo(calibrations());
    stereo.setStereoAlgorithm(static_cast<Stereo::StereoAlgorithm>(2));
    support::RecordedLog log;
    const cv::Mat image(270, 360, CV_8UC1, cv::Scalar(1));
    EXPECT_TRUE(stereo.computeDisparity(image, image).empty());
    EXPECT_EQ(log.take(), support::LogEntries());
}

} // namespace
