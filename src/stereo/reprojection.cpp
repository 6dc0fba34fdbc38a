#include "stereo/reprojection.h"

#include <opencv2/calib3d.hpp>

#include <vector>

namespace vision::detail {

namespace {

/// Whether q holds zeros and ones wherever that of a horizontal pair does.
bool isOfHorizontalPair(const cv::Mat& q)
{
    if (q.type() != CV_32FC1 || q.size() != cv::Size(4, 4)) {
        return false;
    }
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < (row < 3 ? 3 : 2); ++column) { // beyond are the entries that differ
            if (q.at<float>(row, column) != (row == column && row < 2 ? 1.0f : 0.0f)) {
                return false;
            }
        }
    }
    return true;
}

cv::Mat reprojectInOnePass(const cv::Mat& disparity, const cv::Matx44d& q, const DepthLimits& limits)
{
    std::vector<double> x(static_cast<std::size_t>(disparity.cols) + pixelsPerBlock);
    for (int column = 0; column < disparity.cols; ++column) {
        x[static_cast<std::size_t>(column)] = column + q(0, 3);
    }
    cv::Mat points(disparity.rows, disparity.cols, CV_32FC3);
    constexpr double pixelsPerTask = 16384; // what outweighs handing a band of rows to another thread
    cv::parallel_for_(
        cv::Range(0, disparity.rows),
        [&](const cv::Range& band) {
            for (int y = band.start; y < band.end; ++y) {
                const HomogeneousRow homogeneous{x.data(), y + q(1, 3), 0.0 + q(2, 3), q(3, 2), q(3, 3)};
                reprojectRow(
                    disparity.ptr<float>(y), disparity.cols, homogeneous, limits, points.ptr<cv::Vec3f>(y));
            }
        },
        static_cast<double>(disparity.total()) / pixelsPerTask);
    return points;
}

/// The calls that define the points, for any q.
cv::Mat reprojectByOpenCv(const cv::Mat& disparity, const cv::Mat& q, const DepthLimits& limits)
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

cv::Mat reproject(const cv::Mat& disparity, const cv::Mat& q, const DepthLimits& limits)
{
    return isOfHorizontalPair(q) ? reprojectInOnePass(disparity, q, limits)
                                 : reprojectByOpenCv(disparity, q, limits);
}

} // namespace vision::detail
