// SPDX-License-Identifier: Apache-2.0
#include "stereo/reprojection.h"

#include <opencv2/calib3d.hpp>

#include <cmath>
#include <vector>

namespace vision::detail {

namespace {

/// Whether q holds zeros and ones wherever that of a horizontal pair does.
bool isOfHorizontalPair(const cv::Matx44d& q)
{
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < (row < 3 ? 3 : 2); ++column) { // the rest depends on the cameras
            if (q(row, column) != (row == column && row < 2 ? 1.0 : 0.0)) {
                return false;
            }
        }
    }
    return true;
}

/// Whether this build of OpenCV rounds X, Y and Z to float before it divides them by W, and not only after.
///
/// It is asked for a point whose X tells: 1 + 2^-24 lies halfway between two floats and would be rounded to
/// 1, whereas four fifths of it are nearer to the next float above 0.8f than to 0.8f itself.
bool roundsBeforeDivision()
{
    cv::Matx44d q = cv::Matx44d::eye();
    q(0, 3) = 1 + std::ldexp(1.0, -24);
    q(3, 3) = 1.25;
    cv::Mat point;
    cv::reprojectImageTo3D(cv::Mat::zeros(1, 1, CV_32FC1), point, q, false, CV_32F);
    return point.at<cv::Vec3f>(0, 0)[0] == 0.8f;
}

/// Adds a coordinate of the image and an entry of q to what OpenCV divides by W.
double addAsOpenCv(int coordinate, double entry)
{
    static const bool rounds = roundsBeforeDivision();
    const double sum = coordinate + entry;
    return rounds ? static_cast<float>(sum) : sum;
}

cv::Mat reprojectInOnePass(const cv::Mat& disparity, const cv::Matx44d& q, const DepthLimits& limits)
{
    std::vector<double> x(static_cast<std::size_t>(disparity.cols) + pixelsPerBlock);
    for (int column = 0; column < disparity.cols; ++column) {
        x[static_cast<std::size_t>(column)] = addAsOpenCv(column, q(0, 3));
    }
    cv::Mat points(disparity.rows, disparity.cols, CV_32FC3);
    constexpr double pixelsPerTask = 16384; // what outweighs handing a band of rows to another thread
    cv::parallel_for_(
        cv::Range(0, disparity.rows),
        [&](const cv::Range& band) {
            for (int y = band.start; y < band.end; ++y) {
                const HomogeneousRow homogeneous{
                    x.data(), addAsOpenCv(y, q(1, 3)), addAsOpenCv(0, q(2, 3)), q(3, 2), q(3, 3)};
                reprojectRow(
                    disparity.ptr<float>(y), disparity.cols, homogeneous, limits, points.ptr<cv::Vec3f>(y));
            }
        },
        static_cast<double>(disparity.total()) / pixelsPerTask);
    return points;
}

/// Makes the calls that define the points, whatever q holds.
cv::Mat reprojectByOpenCv(const cv::Mat& disparity, const cv::Matx44d& q, const DepthLimits& limits)
{
    cv::Mat points;
    cv::Mat z;
    cv::reprojectImageTo3D(disparity, points, q, false, CV_32F);
    cv::extractChannel(points, z, 2);
    const cv::Vec3f untrusted(0, 0, 0);
    points.setTo(untrusted, (z < 0.0) | (z > static_cast<double>(limits.maxDepth)));
    points.setTo(untrusted, disparity <= static_cast<double>(limits.invalidDisparity));
    return points;
}

} // namespace

cv::Mat reproject(const cv::Mat& disparity, const cv::Matx44d& q, const DepthLimits& limits)
{
    return isOfHorizontalPair(q) ? reprojectInOnePass(disparity, q, limits)
                                 : reprojectByOpenCv(disparity, q, limits);
}

} // namespace vision::detail
