// SPDX-License-Identifier: Apache-2.0
#include "log_categories.h"

#include <vision/stereo.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <stdexcept>

namespace vision {

std::pair<cv::Mat, cv::Mat> Stereo::rectifyImages(const cv::Mat& left, const cv::Mat& right) const
{
    if (left.size != right.size) {
        detail::refuse<std::invalid_argument>(detail::stereoCategory,
                                              "rectifyImages",
                                              "Both image don't have the same size.",
                                              "Both images must have the same size.");
    }
    if (left.type() != right.type()) {
        detail::refuse<std::invalid_argument>(detail::stereoCategory,
                                              "rectifyImages",
                                              "Both images don't have the same type.",
                                              "Both images must have the same type.");
    }
    cv::Mat first = _rectifyImage(left, LEFT);
    return {std::move(first), _rectifyImage(right, RIGHT)};
}

cv::Mat Stereo::rectifyImageLeft(const cv::Mat& image) const
{
    return _rectifyImage(image, LEFT);
}

cv::Mat Stereo::rectifyImageRight(const cv::Mat& image) const
{
    return _rectifyImage(image, RIGHT);
}

cv::Mat Stereo::_rectifyImage(const cv::Mat& image, ImageIndex index) const
{
    if (image.empty()) {
        CV_Error(cv::Error::StsBadArg, "The image to rectify is empty: check that it was read.");
    }
    const ImageTransform& maps = _findTransforms(image, "_rectifyImage");
    const bool isLeft = index == LEFT;
    cv::Mat result;
    cv::remap(image,
              result,
              isLeft ? maps.leftMapX : maps.rightMapX,
              isLeft ? maps.leftMapY : maps.rightMapY,
              cv::INTER_LINEAR,
              cv::BORDER_CONSTANT,
              cv::Scalar(0, 0, 0, 0));
    return result;
}

} // namespace vision
