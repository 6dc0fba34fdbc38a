// SPDX-License-Identifier: Apache-2.0
#include "output/image_bytes.h"

#include <vision/toolkit/output/pictures.h>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <vector>

namespace vision::toolkit {

std::string encodeImage(const char* extension, const cv::Mat& image)
{
    std::vector<unsigned char> bytes;
    cv::imencode(extension, image, bytes);
    return {bytes.begin(), bytes.end()};
}

std::string encodePng(const cv::Mat& image)
{
    CV_Assert(image.depth() == CV_8U || image.depth() == CV_16U); // OpenCV would convert others
    return encodeImage(".png", image);
}

} // namespace vision::toolkit
