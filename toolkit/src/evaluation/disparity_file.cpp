// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/evaluation/evaluation.h>

#include "evaluation/pfm.h"

#include <vision/toolkit/failure.h>

#include <opencv2/core.hpp>

#include <cmath>
#include <limits>

namespace vision::toolkit {

namespace {

/// Replaces all that stands for no value by +infinity.
void blankInvalid(cv::Mat& disparity)
{
    for (int row = 0; row < disparity.rows; ++row) {
        auto* values = disparity.ptr<float>(row);
        for (int column = 0; column < disparity.cols; ++column) {
            if (!std::isfinite(values[column]) || values[column] <= 0) {
                values[column] = std::numeric_limits<float>::infinity();
            }
        }
    }
}

/// How many px one unit of a file is.
double findUnit(const cv::Mat& image, const std::string& file, std::optional<double> pxPerLevel)
{
    constexpr double perPixel = 256;
    switch (image.depth()) {
    case CV_32F:
    case CV_64F:
        return 1;
    case CV_16U:
        return 1 / perPixel;
    case CV_8U:
        if (!pxPerLevel) {
            throw Failure(
                "levels-without-scale",
                file,
                "has grey levels of 8 bits, which may mean anything: tell how many px one level is, or "
                "use a file with floats or 16 bits");
        }
        return *pxPerLevel;
    default:
        throw Failure("disparity-bits",
                      file,
                      "has neither floats nor 8 or 16 bits without sign; convert it to a TIFF with floats");
    }
}

} // namespace

DisparityFile readDisparity(const std::string& file, std::optional<double> pxPerLevel,
                            const ImageLimits& limits)
{
    const cv::Mat image = isPfm(file) ? readPfm(file, limits) : readImage(file, limits);
    if (image.channels() != 1) {
        throw Failure(
            "disparity-colour",
            file,
            "is a picture in colour, not a disparity image; name a file with one number a pixel (PFM, "
            "TIFF or grey PNG)");
    }
    DisparityFile result{{}, image.depth() == CV_8U};
    image.convertTo(result.disparity, CV_32F, findUnit(image, file, pxPerLevel));
    blankInvalid(result.disparity);
    return result;
}

cv::Mat readMask(const std::string& file, const ImageLimits& limits)
{
    const cv::Mat image = readImage(file, limits);
    if (image.channels() != 1) {
        throw Failure(
            "mask-colour", file, "is in colour; a mask is a grey image, black where pixels do not count");
    }
    cv::Mat mask = image != 0;
    if (cv::countNonZero(mask) == 0) {
        throw Failure(
            "mask-empty", file, "is black everywhere, so that no pixel counts; choose another mask");
    }
    return mask;
}

} // namespace vision::toolkit
