#include <vision/toolkit/output/disparity_formats.h>

#include "output/image_bytes.h"
#include "output/png16.h"

#include <opencv2/core.hpp>

#include <limits>

namespace vision::toolkit {

namespace {

constexpr float noDisparity = std::numeric_limits<float>::infinity();

} // namespace

std::string encodeDisparityPfm(const cv::Mat& disparity)
{
    CV_Assert(disparity.type() == CV_32FC1);
    return encodeImage(".pfm", disparity);
}

std::string encodeDisparityTiff(const cv::Mat& disparity)
{
    CV_Assert(disparity.type() == CV_32FC1);
    return encodeImage(".tiff", disparity);
}

EncodedImage encodeDisparityPng16(const cv::Mat& disparity)
{
    constexpr float perPixel = 256;
    return encodePng16(disparity, perPixel, noDisparity);
}

} // namespace vision::toolkit
