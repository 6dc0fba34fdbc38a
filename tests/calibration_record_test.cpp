#include "support/calibrations.h"
#include "support/matrices.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace support;
using vision::Calibration;

namespace {

void expectDifferent(const Calibration& a, const Calibration& b)
{
    EXPECT_FALSE(a == b);
    EXPECT_FALSE(b == a);
    EXPECT_TRUE(a != b);
}

TEST(CalibrationRecord, IsEmptyByDefaultAndEqualsAnotherEmptyOne)
{
    const Calibration calibration;
    EXPECT_EQ(calibration.width, 0);
    EXPECT_EQ(calibration.height, 0);
    for (const auto field : matrixFields) {
        EXPECT_TRUE((calibration.*field).empty());
    }
    EXPECT_TRUE(calibration == Calibration(calibration));
    EXPECT_FALSE(calibration != Calibration());
}

TEST(CalibrationRecord, CopiesAreEqualAndShareNoData)
{
    const auto reference = makeCalibration(640, 480, 0);
    for (const auto field : matrixFields) {
        const auto source = makeCalibration(640, 480, 0);
        Calibration constructed(source);
        Calibration assigned = makeCalibration(320, 240, 1);
        const cv::Mat sharedBefore = assigned.*field;
        EXPECT_EQ(&(assigned = source), &assigned);
        EXPECT_TRUE(areBitEqual(sharedBefore, makeCalibration(320, 240, 1).*field));
        const Calibration& itself = assigned;
        assigned = itself;
        for (Calibration* const copy : {&constructed, &assigned}) {
            EXPECT_TRUE(*copy == source);
            (copy->*field).setTo(-1);
            EXPECT_TRUE(source == reference);
        }
        assigned = Calibration();
        EXPECT_TRUE(assigned == Calibration());
    }
}

TEST(CalibrationRecord, DiffersWhenOneValueDiffersAndLooksNoFurther)
{
    const auto reference = makeCalibration(640, 480, 0);
    for (const auto size : {&Calibration::width, &Calibration::height}) {
        Calibration other(reference);
        ++(other.*size);
        other.cameraMatrix.release(); // comparing it would throw
        expectDifferent(other, reference);
    }
    for (std::size_t i = 0; i < matrixFields.size(); ++i) {
        Calibration other(reference);
        auto& last = *((other.*matrixFields[i]).end<float>() - 1);
        last = std::nextafter(last, 2.0f);
        expectDifferent(other, reference);
        if (i + 1 < matrixFields.size()) {
            (other.*matrixFields[i + 1]).release();
            expectDifferent(other, reference);
        }
    }
}

TEST(CalibrationRecord, ComparesNanAsDifferentAndTheZerosAsEqual)
{
    auto calibration = makeCalibration(640, 480, 0);
    Calibration copy(calibration);
    copy.cameraMatrix.at<float>(0, 1) = -0.0f;
    EXPECT_TRUE(copy == calibration);
    calibration.distortion.at<float>(0, 2) = std::nanf("");
    expectDifferent(calibration, Calibration(calibration));
}

TEST(CalibrationRecord, LeavesMatricesThatCannotBeComparedToOpenCv)
{
    const auto reference = makeCalibration(640, 480, 0);
    const cv::Mat unlike[] = {cv::Mat(), cv::Mat::zeros(5, 7, CV_32FC1), cv::Mat::zeros(3, 3, CV_64FC1)};
    for (const auto field : matrixFields) {
        for (const cv::Mat& matrix : unlike) {
            Calibration other(reference);
            other.*field = matrix;
            EXPECT_THROW((void)(other == reference), cv::Exception);
            EXPECT_THROW((void)(reference != other), cv::Exception);
        }
    }
}

} // namespace
