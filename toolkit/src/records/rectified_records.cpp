// SPDX-License-Identifier: Apache-2.0
#include "records/rectified_records.h"

#include <opencv2/calib3d.hpp>

namespace vision::toolkit {

namespace {

Calibration makeRecord(const cv::Size& size, const cv::Mat& camera, const cv::Mat& distortion,
                       const cv::Mat& rotation, const cv::Mat& projection)
{
    Calibration record;
    record.width = size.width;
    record.height = size.height;
    camera.convertTo(record.cameraMatrix, CV_32F);
    distortion.convertTo(record.distortion, CV_32F);
    rotation.convertTo(record.rectificationMatrix, CV_32F);
    projection.convertTo(record.projectionMatrix, CV_32F);
    return record;
}

} // namespace

CalibrationPair makeRectifiedRecords(const RawRig& rig, double alpha)
{
    cv::Mat leftRotation;
    cv::Mat rightRotation;
    cv::Mat leftProjection;
    cv::Mat rightProjection;
    cv::Mat reprojection;
    cv::stereoRectify(rig.leftCamera,
                      rig.leftDistortion,
                      rig.rightCamera,
                      rig.rightDistortion,
                      rig.size,
                      rig.rotation,
                      rig.translation,
                      leftRotation,
                      rightRotation,
                      leftProjection,
                      rightProjection,
                      reprojection,
                      cv::CALIB_ZERO_DISPARITY,
                      alpha,
                      rig.size);
    return {makeRecord(rig.size, rig.leftCamera, rig.leftDistortion, leftRotation, leftProjection),
            makeRecord(rig.size, rig.rightCamera, rig.rightDistortion, rightRotation, rightProjection)};
}

} // namespace vision::toolkit
