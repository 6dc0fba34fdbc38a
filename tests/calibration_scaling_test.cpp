#include "support/log_records.h"
#include "support/oracle.h"

#include <gtest/gtest.h>

#include <numeric>

using namespace support;
using vision::Calibration;

namespace {

cv::Mat countFrom(float first, int rows, int cols)
{
    cv::Mat matrix(rows, cols, CV_32FC1);
    std::iota(matrix.begin<float>(), matrix.end<float>(), first);
    return matrix;
}

/// All entries differ and none is 0, so that each one that is scaled wrongly or not at all shows.
Calibration makeCountingCalibration()
{
    Calibration calibration = makeCalibration(640, 480, 0);
    calibration.cameraMatrix = countFrom(1.7f, 3, 3);
    calibration.projectionMatrix = countFrom(30.9f, 3, 4);
    return calibration;
}

using CalibrationScaling = testing::TestWithParam<cv::Size>;
using RefusedCalibrationScaling = testing::TestWithParam<cv::Size>;

TEST_P(CalibrationScaling, MultipliesJustTheEntriesInPixels)
{
    const Calibration source = makeCountingCalibration();
    Calibration scaled = source.scaleTo(GetParam().width, GetParam().height);
    EXPECT_TRUE(scaled == oracle::scaled(source, GetParam()));
    for (const auto field : matrixFields) {
        (scaled.*field).setTo(0);
    }
    EXPECT_TRUE(source == makeCountingCalibration()) << "the source changed";
}

INSTANTIATE_TEST_SUITE_P(SameRatio, CalibrationScaling,
                         testing::Values(cv::Size(640, 480), cv::Size(320, 240), cv::Size(1280, 960),
                                         cv::Size(4, 3), cv::Size(1000, 750), cv::Size(0, 0),
                                         cv::Size(-640, -480)));

TEST(CalibrationScalingLaw, UpAndDownByPowersOfTwoIsTheIdentity)
{
    const Calibration source = makeCountingCalibration();
    EXPECT_TRUE(source.scaleTo(2560, 1920).scaleTo(160, 120).scaleTo(640, 480) == source);
}

TEST_P(RefusedCalibrationScaling, IsLoggedAndThrown)
{
    const std::string text = "Invalid aspect ratio for new calibration";
    const Calibration source = makeCountingCalibration();
    expectRefusal<std::invalid_argument>([&] { (void)source.scaleTo(GetParam().width, GetParam().height); },
                                         text, {calibrationError("scaleTo", text)});
}

INSTANTIATE_TEST_SUITE_P(OtherRatio, RefusedCalibrationScaling,
                         testing::Values(cv::Size(321, 241), cv::Size(320, 241), cv::Size(321, 240),
                                         cv::Size(640, -480), cv::Size(640, 0), cv::Size(480, 640)));

TEST(UnusableCalibration, IsRefusedByAnOpenCvExceptionWithoutARecord)
{
    const auto expectRefused = [](const Calibration& calibration) {
        expectRefusal<cv::Exception>([&] { (void)calibration.scaleTo(320, 240); }, anyText, {});
    };
    expectRefused(Calibration());
    for (const auto field : {&Calibration::cameraMatrix, &Calibration::projectionMatrix}) {
        const int columns = field == &Calibration::cameraMatrix ? 3 : 4;
        Calibration calibration = makeCountingCalibration();
        const cv::Mat least = calibration.*field = countFrom(1, 2, columns);
        EXPECT_NO_THROW((void)calibration.scaleTo(320, 240));
        const cv::Mat unusable[] = {cv::Mat(), least.row(0), least.colRange(1, columns),
                                    cv::Mat_<double>(least)};
        for (const cv::Mat& matrix : unusable) {
            calibration.*field = matrix;
            expectRefused(calibration);
        }
    }
}

} // namespace
