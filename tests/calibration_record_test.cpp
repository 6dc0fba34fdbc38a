#include "support/calibrations.h"
#include "support/matrices.h"

#include <gtest/gtest.h>

using namespace support;
using vision::Calibration;

namespace {

const Calibration reference = makeCalibration(640, 480, 0);

void expectDifferent(const Calibration& a, const Calibration& b)
{
    EXPECT_FALSE(a == b);
    EXPECT_FALSE(b == a);
    EXPECT_TRUE(a != b);
}

TEST(CalibrationRecord, IsEmptyByDefaultAndEqualsAnotherEmptyOne)
{
    const Calibration calibration;
    EXPECT_EQ(cv::Size(calibration.width, calibration.height), cv::Size(0, 0));
    for (const auto field : matrixFields) {
        EXPECT_TRUE((calibration.*field).empty());
    }
    EXPECT_TRUE(calibration == Calibration(calibration));
    EXPECT_FALSE(calibration != Calibration());
}

TEST(CalibrationRecord, CopiesAreEqualAndShareNoData)
{
    for (const auto field : matrixFields) {
        const Calibration other = makeCalibration(320, 240, 1);
        Calibration constructed(reference);
        Calibration assigned(other);
        const cv::Mat sharedBefore = assigned.*field;
        EXPECT_EQ(&(assigned = reference), &assigned);
        EXPECT_TRUE(areBitEqual(sharedBefore, other.*field));
        const Calibration& itself = assigned;
        assigned = itself;
        for (Calibration* const copy : {&constructed, &assigned}) {
            EXPECT_TRUE(*copy == reference);
            (copy->*field).setTo(-1);
            EXPECT_TRUE(reference == makeCalibration(640, 480, 0));
        }
        assigned = Calibration();
        EXPECT_TRUE(assigned == Calibration());
    }
}

TEST(CalibrationRecord, DiffersWhenOneValueDiffersAndLooksNoFurther)
{
    for (const auto size : {&Calibration::width, &Calibration::height}) {
        Calibration other(reference);
        ++(other.*size);
        other.cameraMatrix.release(); // comparing it would throw
        expectDifferent(other, reference);
    }
    for (const auto* field = matrixFields.begin(); field != matrixFields.end(); ++field) {
        Calibration other(reference);
        *((other.**field).end<float>() - 1) += 1e-4f;
        expectDifferent(other, reference);
        if (field + 1 != matrixFields.end()) {
            (other.*field[1]).release();
            expectDifferent(other, reference);
        }
    }
}

TEST(CalibrationRecord, ComparesNanAsDifferentAndTheZerosAsEqual)
{
    Calibration copy(reference);
    copy.cameraMatrix.at<float>(0, 1) = -0.0f;
    EXPECT_TRUE(copy == reference);
    copy.distortion.at<float>(0, 2) = NAN;
    expectDifferent(copy, Calibration(copy));
}

TEST(CalibrationRecord, LeavesMatricesThatCannotBeComparedToOpenCv)
{
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
