// SPDX-License-Identifier: Apache-2.0
/// What the library must compute, written as the literal sequence of OpenCV calls, without its code.
#ifndef SUPPORT_ORACLE_H
#define SUPPORT_ORACLE_H

#include "support/calibrations.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace support {

namespace oracle {

inline vision::Calibration scaled(const vision::Calibration& source, cv::Size size)
{
    const float factor = static_cast<float>(size.width) / static_cast<float>(source.width);
    vision::Calibration result(source);
    result.width = size.width;
    result.height = size.height;
    for (cv::Mat* const matrix : {&result.cameraMatrix, &result.projectionMatrix}) {
        for (const cv::Point at : {cv::Point(0, 0), cv::Point(1, 1), cv::Point(2, 0), cv::Point(2, 1)}) {
            matrix->at<float>(at) *= factor;
        }
    }
    result.projectionMatrix.at<float>(0, 3) *= factor;
    result.projectionMatrix.at<float>(1, 3) *= factor;
    return result;
}

/// The x and the y map of one camera.
inline std::pair<cv::Mat, cv::Mat> maps(const vision::Calibration& calibration, cv::Size size)
{
    const auto camera = scaled(calibration, size);
    cv::Mat x, y;
    cv::initUndistortRectifyMap(camera.cameraMatrix,
                                camera.distortion,
                                camera.rectificationMatrix,
                                camera.projectionMatrix.colRange(0, 3),
                                size,
                                CV_32FC1,
                                x,
                                y);
    return {x, y};
}

inline cv::Mat reprojection(const CalibrationPair& pair, cv::Size size)
{
    const cv::Matx34f left = scaled(pair.left, size).projectionMatrix;
    const cv::Matx34f right = scaled(pair.right, size).projectionMatrix;
    const float tx = right(0, 3) / left(0, 0);
    float rows[4][4] = {
        {1, 0, 0, -left(0, 2)},
        {0, 1, 0, -left(1, 2)},
        {0, 0, 0, left(0, 0)},
        {0, 0, -1 / tx, (left(0, 2) - right(0, 2)) / tx},
    };
    return cv::Mat(4, 4, CV_32FC1, rows).clone();
}

inline cv::Mat rectify(const cv::Mat& image, const std::pair<cv::Mat, cv::Mat>& maps)
{
    cv::Mat result;
    cv::remap(image, result, maps.first, maps.second, cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar());
    return result;
}

/// With the parameters that the pipeline's getters tell.
inline cv::Mat disparity(const vision::Stereo& p, int calibrationWidth, const cv::Mat& left,
                         const cv::Mat& right)
{
    const int s = calibrationWidth / left.cols;
    const int halvings = static_cast<int>(std::round(std::log2(static_cast<double>(s))));
    const int number = std::max(16, p.getDisparityNumber() - 16 * halvings);
    const int block = s == 1 ? p.getWindowSize() : p.getWindowSize() - s;
    const int lowest = p.getMinDisparity() / s - 1;
    cv::Ptr<cv::StereoMatcher> matcher;
    if (p.getStereoAlgorithm() == vision::Stereo::BM) {
        const auto bm = cv::StereoBM::create(number, 21);
        bm->setPreFilterSize(p.getPreFilterSize());
        bm->setPreFilterCap(p.getPreFilterCap());
        bm->setTextureThreshold(p.getTextureThreshold());
        bm->setUniquenessRatio(p.getUniquenessRatio());
        matcher = bm;
    } else {
        const auto sgbm = cv::StereoSGBM::create(lowest, number, block); // with OpenCV's own penalties
        sgbm->setPreFilterCap(p.getPreFilterCap());
        sgbm->setUniquenessRatio(p.getUniquenessRatio());
        matcher = sgbm;
    }
    matcher->setMinDisparity(lowest);
    matcher->setBlockSize(block);
    matcher->setSpeckleWindowSize(p.getSpeckleWindowSize() / s);
    matcher->setSpeckleRange(p.getSpeckleRange() / s);
    // What the semi-global matcher cannot search without reading too far is repeated at the right.
    const auto searched = [&](const cv::Mat& image) {
        return image.cols + std::min(lowest, 0) - std::max(lowest + number, 0);
    };
    cv::Mat wideLeft = left, wideRight = right, raw, result;
    while (p.getStereoAlgorithm() == vision::Stereo::SGBM && searched(left) > 0 &&
           searched(wideLeft) <= (block > 0 ? block : 5) / 2) {
        cv::hconcat(wideLeft, wideLeft.col(wideLeft.cols - 1), wideLeft);
        cv::hconcat(wideRight, wideRight.col(wideRight.cols - 1), wideRight);
    }
    matcher->compute(wideLeft, wideRight, raw);
    raw.colRange(0, left.cols).convertTo(result, CV_32F, 1.0 / 16);
    return result;
}

inline cv::Mat depth(const cv::Mat& disparity, const cv::Mat& reprojection, float maxDepth, int minDisparity,
                     int calibrationWidth)
{
    cv::Mat points, z;
    cv::reprojectImageTo3D(disparity, points, reprojection, false, CV_32F);
    cv::extractChannel(points, z, 2);
    const int s = calibrationWidth / disparity.cols;
    const float threshold = static_cast<float>(minDisparity / s - 1) - 1.0f;
    points.setTo(cv::Vec3f(0, 0, 0), (z < 0.0) | (z > static_cast<double>(maxDepth)));
    points.setTo(cv::Vec3f(0, 0, 0), disparity <= static_cast<double>(threshold));
    return points;
}

} // namespace oracle
} // namespace support

#endif
