// SPDX-License-Identifier: Apache-2.0
#include "output/image_bytes.h"

#include "base/text.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/output/pictures.h>

#include <fmt/format.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

namespace vision::toolkit {

Bytes encodeImage(const char* extension, const cv::Mat& image)
{
    Bytes bytes;
    if (!cv::imencode(extension, image, bytes)) {
        throw Failure("cannot-encode",
                      extension,
                      fmt::format("OpenCV cannot make such a file of an image of {}; choose another format",
                                  formatSize(image.size())));
    }
    return bytes;
}

Bytes encodePng(const cv::Mat& image)
{
    CV_Assert(image.depth() == CV_8U || image.depth() == CV_16U); // OpenCV would convert others
    return encodeImage(".png", image);
}

} // namespace vision::toolkit
