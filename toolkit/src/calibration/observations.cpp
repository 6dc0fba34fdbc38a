// SPDX-License-Identifier: Apache-2.0
#include "calibration/observations.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <vector>

namespace vision::toolkit {

namespace {

/// The variance of a focal length that OpenCV estimates from so many copies of a view of ten points.
double estimateVariance(std::size_t copies)
{
    std::vector<cv::Point3f> board;
    for (const float y : {0.F, 1.F}) {
        for (const float x : {0.F, 1.F, 2.F, 3.F, 4.F}) {
            board.emplace_back(x, y, 0.F);
        }
    }
    cv::Mat matrix = (cv::Mat_<double>(3, 3) << 500, 0, 320, 0, 500, 240, 0, 0, 1);
    std::vector<cv::Point2f> corners;
    cv::projectPoints(board, cv::Vec3d(0.4, 0.5, 0), cv::Vec3d(-2, -0.5, 8), matrix, cv::noArray(), corners);
    for (std::size_t i = 0; i < corners.size(); ++i) {
        corners[i].x += i % 3 == 0 ? 0.1F : -0.1F; // without residuals the variance would be 0
    }
    cv::Mat distortion;
    cv::Mat rotations;
    cv::Mat translations;
    cv::Mat deviations;
    cv::calibrateCamera(std::vector(copies, board),
                        std::vector(copies, corners),
                        {640, 480},
                        matrix,
                        distortion,
                        rotations,
                        translations,
                        deviations,
                        cv::noArray(),
                        cv::noArray(),
                        cv::CALIB_USE_INTRINSIC_GUESS | cv::CALIB_FIX_PRINCIPAL_POINT |
                            cv::CALIB_ZERO_TANGENT_DIST | cv::CALIB_FIX_K1 | cv::CALIB_FIX_K2 |
                            cv::CALIB_FIX_K3);
    return deviations.at<double>(0) * deviations.at<double>(0);
}

} // namespace

int countObservationsPerPoint()
{
    // With n observations and p parameters a variance is in proportion to 1 / (n - p). A second copy of
    // the view doubles both the residuals' sum of squares and the curvature, so that only n - p tells: from
    // 10 - 8 to 20 - 14 (two focal lengths, and six for each view) or from 20 - 8 to 40 - 14.
    constexpr double one = 2.0 / 6;
    constexpr double two = 12.0 / 26;
    return estimateVariance(2) / estimateVariance(1) < (one + two) / 2 ? 1 : 2;
}

} // namespace vision::toolkit
