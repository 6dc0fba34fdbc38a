#include "support/calibrations.h"
#include "support/matrices.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using support::matrixFields;
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
    const auto source = support::makeCalibration(640, 480, 0);
    const auto reference = support::makeCalibration(640, 480, 0);
    Calibration constructed(source);
    Calibration assigned = support::makeCalibration(64, 48, 1);
    EXPECT_EQ(&(assigned = source), &assigned);
    for (Calibration* const copy : {&constructed, &assigned}) {
        EXPECT_TRUE(*copy == source);
        for (const auto field : matrixFields) {
            (copy->*field).setTo(-1);
        }
        EXPECT_TRUE(source == reference);
    }
    assigned = Calibration();
    EXPECT_TRUE(assigned == Calibration());
}

TEST(CalibrationRecord, AssignmentLeavesBuffersThatOthersShareAlone)
{
    for (const auto field : matrixFields) {
        auto target = support::makeCalibration(640, 480, 0);
        const cv::Mat outside = target.*field;
        target = support::makeCalibration(640, 480, 1);
        EXPECT_TRUE(support::areBitEqual(outside, support::makeCalibration(640, 480, 0).*field));
        const Calibration& itself = target;
        target = itself;
        EXPECT_TRUE(target == support::makeCalibration(640, 480, 1));
    }
}

TEST(CalibrationRecord, DiffersWhenOneValueDiffersAndLooksNoFurther)
{
    const auto reference = support::makeCalibration(640, 480, 0);
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
    auto calibration = support::makeCalibration(640, 480, 0);
    Calibration copy(calibration);
    copy.cameraMatrix.at<float>(0, 1) = -0.0f;
    EXPECT_TRUE(copy == calibration);
    calibration.distortion.at<float>(0, 2) = std::numeric_limits<float>::quiet_NaN();
    expectDifferent(calibration, Calibration(calibration));
}

TEST(CalibrationRecord, LeavesMatricesThatCannotBeComparedToOpenCv)
{
    const auto reference = support::makeCalibration(640, 480, 0);
    const cv::Mat unlike[] = {cv::Mat(), cv::Mat::zeros(5, 7, CV_32FC1), cv::Mat::zeros(3, 3, CV_64FC1)};
    for (const auto field : matrixFields) {
        for (const cv::Mat& matrix : unlike) {
            Calibration other(reference);
            other.*field = matrix;
            EXPECT_THROW((void)(other == reference), cv::Exception);
            EXPECT_THROW((void)(reference != other), cv::Exception);
        }
        Calibration multichannel(reference);
        multichannel.*field = cv::Mat::zeros(3, 3, CV_32FC2);
        EXPECT_THROW((void)(multichannel == multichannel), cv::Exception);
    }
}

} // namespace
