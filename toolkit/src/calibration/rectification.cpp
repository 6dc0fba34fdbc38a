// SPDX-License-Identifier: Apache-2.0
#include "calibration/rectification.h"

#include "records/rectified_records.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp> // OpenCV 3 declares undistortPoints here

#include <cmath>

namespace vision::toolkit {

namespace {

/// OpenCV's default, five iterations, is off by pixels at the borders of wide lenses.
const cv::TermCriteria untilStill(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 100, 1e-6);

Corners rectify(const Corners& corners, const Calibration& record)
{
    Corners rectified;
    cv::undistortPoints(corners,
                        rectified,
                        record.cameraMatrix,
                        record.distortion,
                        record.rectificationMatrix,
                        record.projectionMatrix,
                        untilStill);
    return rectified;
}

} // namespace

CalibrationPair makeRecords(const PairFit& fit, const cv::Size& imageSize, double alpha)
{
    return makeRectifiedRecords({imageSize,
                                 fit.left.matrix,
                                 fit.left.distortion,
                                 fit.right.matrix,
                                 fit.right.distortion,
                                 fit.rotation,
                                 fit.translation},
                                alpha);
}

std::vector<cv::Point2d> toRays(const std::vector<cv::Point2d>& pixels, const CameraFit& camera)
{
    std::vector<cv::Point2d> rays;
    cv::undistortPoints(
        pixels, rays, camera.matrix, camera.distortion, cv::noArray(), cv::noArray(), untilStill);
    return rays;
}

RectifiedView rectify(const BoardView& view, const CalibrationPair& records)
{
    return {rectify(view.left, records.left), rectify(view.right, records.right)};
}

std::vector<double> findRowErrors(const RectifiedView& view)
{
    std::vector<double> errors;
    for (std::size_t i = 0; i < view.left.size(); ++i) {
        const double offset = double{view.left[i].y} - double{view.right[i].y};
        errors.push_back(std::abs(offset));
    }
    return errors;
}

std::vector<cv::Point3d> triangulate(const RectifiedView& view, const CalibrationPair& records)
{
    const cv::Mat_<float> projection = records.right.projectionMatrix;
    const double focalLength = projection(0, 0);
    const double baseline = -double{projection(0, 3)} / focalLength;
    std::vector<cv::Point3d> points;
    for (std::size_t i = 0; i < view.left.size(); ++i) {
        const double disparity = double{view.left[i].x} - double{view.right[i].x};
        const double depth = focalLength * baseline / disparity;
        points.emplace_back((view.left[i].x - projection(0, 2)) * depth / focalLength,
                            (view.left[i].y - projection(1, 2)) * depth / focalLength,
                            depth);
    }
    return points;
}

} // namespace vision::toolkit
