// SPDX-License-Identifier: Apache-2.0
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
        EXPECT_TRUE((assigned.*field).empty());
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
    Calibration withNan(reference);
    withNan.distortion.at<float>(0, 2) = NAN;
    expectDifferent(withNan, Calibration(withNan));
    Calibration changed(reference);
    for (auto field = std::rbegin(matrixFields); field != std::rend(matrixFields); ++field) {
        Calibration other(changed);
        *((other.**field).end<float>() - 1) += 1e-4f;
        expectDifferent(other, reference);
        (changed.**field).release(); // so that looking further throws from now on
        EXPECT_THROW((void)(changed == reference), cv::Exception);
        EXPECT_THROW((void)(reference != changed), cv::Exception);
    }
}

} // namespace
