#include "support/log_records.h"
#include "support/matrices.h"

#include <vision/calibration.h>

#include <opencv2/core.hpp>

#include <gtest/gtest.h>

#include <numeric>

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
    Calibration calibration;
    calibration.width = 640;
    calibration.height = 480;
    calibration.cameraMatrix = countFrom(1.7f, 3, 3);
    calibration.distortion = countFrom(0.1f, 1, 5);
    calibration.rectificationMatrix = countFrom(20.3f, 3, 3);
    calibration.projectionMatrix = countFrom(30.9f, 3, 4);
    return calibration;
}

class CalibrationScaling : public testing::TestWithParam<cv::Size>
{
};
class RefusedCalibrationScaling : public testing::TestWithParam<cv::Size>
{
};

TEST_P(CalibrationScaling, MultipliesJustTheEntriesInPixels)
{
    const Calibration source = makeCountingCalibration();
    Calibration expected = makeCountingCalibration();
    expected.width = GetParam().width;
    expected.height = GetParam().height;
    const float factor = static_cast<float>(expected.width) / 640.0f;
    cv::Mat& k = expected.cameraMatrix;
    cv::Mat& p = expected.projectionMatrix;
    for (cv::Mat* matrix : {&k, &p}) {
        for (const cv::Point at : {cv::Point(0, 0), cv::Point(1, 1), cv::Point(2, 0), cv::Point(2, 1)}) {
            matrix->at<float>(at) *= factor;
        }
    }
    p.at<float>(0, 3) *= factor;
    p.at<float>(1, 3) *= factor;

    Calibration scaled = source.scaleTo(expected.width, expected.height);
    EXPECT_TRUE(scaled == expected);
    scaled.distortion.setTo(0);
    scaled.rectificationMatrix.setTo(0);
    EXPECT_TRUE(source == makeCountingCalibration()) << "the source changed";
}

INSTANTIATE_TEST_SUITE_P(SameRatio, CalibrationScaling,
                         testing::Values(cv::Size(640, 480), cv::Size(320, 240), cv::Size(1280, 960),
                                         cv::Size(4, 3), cv::Size(1000, 750), cv::Size(0, 0),
                                         cv::Size(-640, -480)));

TEST(CalibrationScaling, UpAndDownByPowersOfTwoIsTheIdentity)
{
    const Calibration source = makeCountingCalibration();
    EXPECT_TRUE(source.scaleTo(2560, 1920).scaleTo(160, 120).scaleTo(640, 480) == source);
}

TEST_P(RefusedCalibrationScaling, IsLoggedAndThrown)
{
    const std::string text = "Invalid aspect ratio for new calibration";
    support::expectRefusal<std::invalid_argument>(
        [] { (void)makeCountingCalibration().scaleTo(GetParam().width, GetParam().height); }, text,
        {support::calibrationEntry(tarn::LogLevel::Error, "scaleTo", text)});
}

INSTANTIATE_TEST_SUITE_P(OtherRatio, RefusedCalibrationScaling,
                         testing::Values(cv::Size(321, 241), cv::Size(320, 241), cv::Size(321, 240),
                                         cv::Size(640, -480), cv::Size(-640, 480), cv::Size(640, 0),
                                         cv::Size(480, 640)));

TEST(CalibrationScaling, LeavesUnusableMatricesToOpenCv)
{
    const auto expectOutcome = [](cv::Mat Calibration::*field, const cv::Mat& matrix, bool accepted) {
        Calibration calibration = makeCountingCalibration();
        calibration.*field = matrix;
        if (accepted) {
            EXPECT_NO_THROW((void)calibration.scaleTo(320, 240));
        } else {
            support::expectRefusal<cv::Exception>([&] { (void)calibration.scaleTo(320, 240); },
                                                  support::anyText, {});
        }
    };
    const int cube[] = {3, 4, 4};
    for (const int least : {3, 4}) { // columns
        const auto field = least == 3 ? &Calibration::cameraMatrix : &Calibration::projectionMatrix;
        expectOutcome(field, cv::Mat::ones(2, least, CV_32FC1), true);
        const cv::Mat unusables[] = {cv::Mat(),
                                     cv::Mat::ones(1, least, CV_32FC1),
                                     cv::Mat::ones(2, least - 1, CV_32FC1),
                                     cv::Mat::ones(3, least, CV_64FC1),
                                     cv::Mat::ones(3, least, CV_32FC2),
                                     cv::Mat(3, cube, CV_32FC1)};
        for (const cv::Mat& unusable : unusables) {
            expectOutcome(field, unusable, false);
        }
    }
    support::expectRefusal<cv::Exception>([] { (void)Calibration().scaleTo(320, 240); }, support::anyText,
                                          {});
}

} // namespace
