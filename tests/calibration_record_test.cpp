#include "support/calibrations.h"
#include "support/matrices.h"

#include <gtest/gtest.h>

#include <limits>

using support::matrixFields;
using vision::Calibration;

namespace {

void expectDeepCopy(Calibration& copy, const Calibration& source)
{
    EXPECT_TRUE(copy == source);
    const Calibration before(source);
    for (const auto field : matrixFields) {
        EXPECT_NE((copy.*field).data, (source.*field).data);
        (copy.*field).setTo(-1);
    }
    EXPECT_TRUE(source == before);
}

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
    EXPECT_TRUE(calibration == Calibration());
    EXPECT_FALSE(calibration != Calibration());
}

TEST(CalibrationRecord, CopiesShareNoData)
{
    const auto source = support::makeCalibration(640, 480, 0);
    Calibration constructed(source);
    expectDeepCopy(constructed, source);
    Calibration assigned;
    EXPECT_EQ(&(assigned = source), &assigned);
    expectDeepCopy(assigned, source);
}

TEST(CalibrationRecord, CopiesOfAnEmptyRecordAreEmpty)
{
    auto assigned = support::makeCalibration(640, 480, 0);
    assigned = Calibration();
    EXPECT_TRUE(assigned == Calibration());
    EXPECT_TRUE(Calibration(assigned) == Calibration());
}

TEST(CalibrationRecord, AssignmentLeavesBuffersThatOthersShareAlone)
{
    auto target = support::makeCalibration(640, 480, 0);
    for (const auto field : matrixFields) {
        const cv::Mat outside = target.*field;
        const cv::Mat before = outside.clone();
        target = support::makeCalibration(640, 480, 1);
        EXPECT_TRUE(support::isBitEqual(outside, before));
    }
}

TEST(CalibrationRecord, SurvivesSelfAssignment)
{
    auto calibration = support::makeCalibration(640, 480, 0);
    const Calibration& itself = calibration;
    calibration = itself;
    EXPECT_TRUE(calibration == support::makeCalibration(640, 480, 0));
}

TEST(CalibrationRecord, DiffersWhenOneValueDiffers)
{
    const auto reference = support::makeCalibration(640, 480, 0);
    for (const auto size : {&Calibration::width, &Calibration::height}) {
        Calibration other(reference);
        ++(other.*size);
        other.cameraMatrix.release(); // must not be looked at: comparing it would throw
        expectDifferent(other, reference);
    }
    for (const auto field : matrixFields) {
        Calibration other(reference);
        auto& last = *((other.*field).end<float>() - 1);
        last = std::nextafter(last, 2.0f);
        expectDifferent(other, reference);
    }
}

TEST(CalibrationRecord, StopsComparingAtTheFirstDifference)
{
    for (std::size_t first = 0; first + 1 < matrixFields.size(); ++first) {
        const auto reference = support::makeCalibration(640, 480, 0);
        Calibration other(reference);
        (other.*matrixFields[first]).at<float>(0, 0) += 1;
        (other.*matrixFields[first + 1]).release();
        expectDifferent(other, reference);
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
    const cv::Mat incomparable[] = {cv::Mat(), cv::Mat::zeros(5, 7, CV_32FC1),
                                    cv::Mat::zeros(3, 3, CV_64FC1)};
    for (const auto field : matrixFields) {
        for (const cv::Mat& matrix : incomparable) {
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
