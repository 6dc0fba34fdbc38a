// SPDX-License-Identifier: Apache-2.0
#include "support/log_records.h"
#include "support/oracle.h"

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

const Calibration source = makeCountingCalibration();

TEST(CalibrationScaling, MultipliesJustTheEntriesInPixels)
{
    for (const cv::Size size :
         {cv::Size(640, 480), cv::Size(1000, 750), cv::Size(4, 3), cv::Size(0, 0), cv::Size(-640, -480)}) {
        Calibration scaled = source.scaleTo(size.width, size.height);
        EXPECT_TRUE(scaled == oracle::scaled(source, size)) << size;
        for (const auto field : matrixFields) {
            (scaled.*field).setTo(0);
        }
        EXPECT_TRUE(source == makeCountingCalibration()) << "the source changed";
    }
}

TEST(CalibrationScaling, IsRefusedForAnotherAspectRatio)
{
    const std::string text = "Invalid aspect ratio for new calibration";
    for (const cv::Size size : {cv::Size(321, 241), cv::Size(320, 241), cv::Size(321, 240)}) {
        expectRefusal<std::invalid_argument>([&] { (void)source.scaleTo(size.width, size.height); },
                                             text,
                                             {calibrationError("scaleTo", text)});
    }
}

TEST(CalibrationScaling, IsRefusedForUnusableMatrices)
{
    const std::pair<cv::Mat Calibration::*, std::string> rows[] = {
        {&Calibration::cameraMatrix, "cameraMatrix must be CV_32FC1 of at least 2x3: load"},
        {&Calibration::projectionMatrix, "projectionMatrix must be CV_32FC1 of at least 2x4: load"},
    };
    for (const auto& [field, text] : rows) {
        const int columns = (source.*field).cols;
        Calibration calibration(source);
        const cv::Mat least = calibration.*field = countFrom(1, 2, columns);
        EXPECT_NO_THROW((void)calibration.scaleTo(320, 240));
        for (const cv::Mat& unusable : std::initializer_list<cv::Mat>{
                 cv::Mat(), least.row(0), least.colRange(1, columns), cv::Mat_<double>(least)}) {
            calibration.*field = unusable;
            const auto scale = [&calibration] { (void)calibration.scaleTo(320, 240); };
            expectUnloggedRefusal<cv::Exception>(scale, text);
        }
    }
}

} // namespace
