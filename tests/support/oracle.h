/// What the library must compute, written as the literal sequence of OpenCV calls, without its code.
#ifndef SUPPORT_ORACLE_H
#define SUPPORT_ORACLE_H

#include "support/calibrations.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <initializer_list>

namespace support {

/// Matcher parameters, each away from its default and telling in the pictures of the tests.
struct MatcherParameters
{
    int minDisparity = 13;
    int disparityNumber = 112;
    int windowSize = 15;
    int speckleRange = 5;
    int speckleWindowSize = 300;
    int preFilterCap = 23;
    int preFilterSize = 11;
    int textureThreshold = 300;
    int uniquenessRatio = 7;

    void applyTo(vision::Stereo& stereo) const
    {
        stereo.setMinDisparity(minDisparity);
        stereo.setDisparityNumber(disparityNumber);
        stereo.setWindowSize(windowSize);
        stereo.setSpeckleRange(speckleRange);
        stereo.setSpeckleWindowSize(speckleWindowSize);
        stereo.setPreFilterCap(preFilterCap);
        stereo.setPreFilterSize(preFilterSize);
        stereo.setTextureThreshold(textureThreshold);
        stereo.setUniquenessRatio(uniquenessRatio);
    }
};

namespace oracle {

inline cv::Mat scaled(const cv::Mat& matrix, float factor,
                      std::initializer_list<std::pair<int, int>> entries = {{0, 0}, {1, 1}, {0, 2}, {1, 2}})
{
    cv::Mat result = matrix.clone();
    for (const auto& [row, column] : entries) {
        result.at<float>(row, column) = result.at<float>(row, column) * factor;
    }
    return result;
}

inline cv::Mat scaledProjection(const cv::Mat& matrix, float factor)
{
    return scaled(matrix, factor, {{0, 0}, {1, 1}, {0, 2}, {1, 2}, {0, 3}, {1, 3}});
}

struct Maps
{
    cv::Mat x;
    cv::Mat y;
};

inline Maps maps(const vision::Calibration& camera, cv::Size size)
{
    const float factor = static_cast<float>(size.width) / static_cast<float>(camera.width);
    Maps result;
    cv::initUndistortRectifyMap(
        scaled(camera.cameraMatrix, factor), camera.distortion, camera.rectificationMatrix,
        scaledProjection(camera.projectionMatrix, factor).colRange(0, 3), size, CV_32FC1, result.x, result.y);
    return result;
}

inline cv::Mat reprojection(const CalibrationPair& pair, cv::Size size)
{
    const float factor = static_cast<float>(size.width) / static_cast<float>(pair.left.width);
    const cv::Mat left = scaledProjection(pair.left.projectionMatrix, factor);
    const cv::Mat right = scaledProjection(pair.right.projectionMatrix, factor);
    const float tx = right.at<float>(0, 3) / left.at<float>(0, 0);
    const float difference = left.at<float>(0, 2) - right.at<float>(0, 2);
    cv::Mat q = cv::Mat::zeros(4, 4, CV_32FC1);
    q.at<float>(0, 0) = q.at<float>(1, 1) = 1;
    q.at<float>(0, 3) = -left.at<float>(0, 2);
    q.at<float>(1, 3) = -left.at<float>(1, 2);
    q.at<float>(2, 3) = left.at<float>(0, 0);
    q.at<float>(3, 2) = -1 / tx;
    q.at<float>(3, 3) = difference / tx;
    return q;
}

inline cv::Mat rectify(const cv::Mat& image, const Maps& maps)
{
    cv::Mat result;
    cv::remap(image, result, maps.x, maps.y, cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar(0, 0, 0, 0));
    return result;
}

inline cv::Mat disparity(const MatcherParameters& p, vision::Stereo::StereoAlgorithm algorithm,
                         int calibrationWidth, const cv::Mat& left, const cv::Mat& right)
{
    const int s = calibrationWidth / left.cols;
    const int halvings = static_cast<int>(std::round(std::log2(static_cast<double>(s))));
    const int number = std::max(16, p.disparityNumber - 16 * halvings);
    const int block = s == 1 ? p.windowSize : p.windowSize - s;
    const int lowest = p.minDisparity / s - 1;
    cv::Ptr<cv::StereoMatcher> matcher;
    if (algorithm == vision::Stereo::BM) {
        const auto bm = cv::StereoBM::create(number, 21);
        bm->setPreFilterSize(p.preFilterSize);
        bm->setPreFilterCap(p.preFilterCap);
        bm->setTextureThreshold(p.textureThreshold);
        bm->setUniquenessRatio(p.uniquenessRatio);
        matcher = bm;
    } else {
        matcher = cv::StereoSGBM::create(lowest, number, block, 0, 0, 0, p.preFilterCap, p.uniquenessRatio, 0,
                                         0, cv::StereoSGBM::MODE_SGBM);
    }
    matcher->setMinDisparity(lowest);
    matcher->setBlockSize(block);
    matcher->setSpeckleWindowSize(p.speckleWindowSize / s);
    matcher->setSpeckleRange(p.speckleRange / s);
    cv::Mat raw;
    cv::Mat result;
    matcher->compute(left, right, raw);
    raw.convertTo(result, CV_32F, 1.0 / 16);
    return result;
}

inline cv::Mat depth(const cv::Mat& disparity, const cv::Mat& q, float maxDepth, int minDisparity,
                     int calibrationWidth)
{
    cv::Mat points;
    cv::reprojectImageTo3D(disparity, points, q, false, CV_32F);
    cv::Mat z;
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
