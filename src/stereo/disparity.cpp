// SPDX-License-Identifier: Apache-2.0
#include "log_categories.h"
#include "stereo/image_scale.h"

#include <vision/stereo.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>

namespace vision {

namespace {

using detail::stereoCategory;

constexpr const char* method = "computeDisparity"; ///< as the log names it

/// The matchers give disparities in sixteenths of a pixel.
constexpr double pixelsPerUnit = 0.0625;

/// The parameters that both matchers take and that depend on how much smaller the image is.
struct ScaledParameters
{
    int minDisparity;
    int disparityNumber;
    int blockSize;
    int speckleRange;
    int speckleWindowSize;
};

template <typename Matcher>
void setScaled(Matcher& matcher, const ScaledParameters& scaled)
{
    if (scaled.minDisparity > std::numeric_limits<int>::max() - scaled.disparityNumber) {
        // The matchers would go on with a wrapped sum, far outside their buffers.
        CV_Error(cv::Error::StsOutOfRange,
                 "The largest disparity is more than an int can hold: search fewer disparities.");
    }
    matcher.setMinDisparity(scaled.minDisparity);
    matcher.setNumDisparities(scaled.disparityNumber);
    matcher.setBlockSize(scaled.blockSize);
    matcher.setSpeckleWindowSize(scaled.speckleWindowSize);
    matcher.setSpeckleRange(scaled.speckleRange);
}

/// Tells how many more columns the semi-global matcher needs, if above zero. It sums up blocks over the
/// columns where the whole range can be searched; if there are some, but no more than half a block, it reads
/// past its buffers.
int countMissingColumns(const ScaledParameters& scaled, int width)
{
    const int maxDisparity = scaled.minDisparity + scaled.disparityNumber;
    const int searched = width + std::min(scaled.minDisparity, 0) - std::max(maxDisparity, 0);
    const int halfBlock = (scaled.blockSize > 0 ? scaled.blockSize : 5) / 2; // as the matcher does
    return searched > 0 ? halfBlock + 1 - searched : 0;
}

/// Repeats the last column. Where the image is a part of a larger one, it gets no pixels of that.
cv::Mat widen(const cv::Mat& image, int columns)
{
    cv::Mat wider;
    cv::copyMakeBorder(image, wider, 0, 0, 0, columns, cv::BORDER_REPLICATE | cv::BORDER_ISOLATED);
    return wider;
}

/// The filter of speckles keeps coordinates in 16 bits; in larger images it writes outside of its buffers.
void requireFilterable(const cv::StereoMatcher& matcher, const cv::Mat& image)
{
    if (matcher.getSpeckleWindowSize() > 0 &&
        std::max(image.rows, image.cols) > std::numeric_limits<std::int16_t>::max()) {
        detail::refuse<std::invalid_argument>(
            stereoCategory,
            method,
            "Speckles can be filtered in at most 32767 rows and columns: match "
            "smaller images or set the speckle window size to 0.");
    }
}

cv::Mat match(cv::StereoMatcher& matcher, const cv::Mat& left, const cv::Mat& right)
{
    requireFilterable(matcher, left);
    try {
        cv::Mat raw;
        cv::Mat disparity;
        matcher.compute(left, right, raw);
        raw.convertTo(disparity, CV_32F, pixelsPerUnit, 0.0);
        return disparity;
    } catch (const std::exception& error) {
        detail::logRecord(tarn::LogLevel::Error,
                          stereoCategory,
                          method,
                          "Error in block matching algorithm: ",
                          error.what());
        throw;
    }
}

void requireGreyPair(const cv::Mat& left, const cv::Mat& right)
{
    if (left.size != right.size) {
        detail::refuse<std::invalid_argument>(stereoCategory,
                                              method,
                                              "Both image don't have the same size.",
                                              "Both images must have the same size.");
    }
    if (left.type() != right.type() || left.type() != CV_8UC1) {
        throw std::invalid_argument("Wrong rectify type, need CV_8UC1 rectify.");
    }
}

} // namespace

cv::Mat Stereo::computeDisparity(const cv::Mat& left, const cv::Mat& right) const
{
    requireGreyPair(left, right);
    const int scale = detail::requireImageScale(left, _leftCalibration.width, method);
    const int halvings = static_cast<int>(std::round(std::log2(scale)));
    const ScaledParameters scaled{
        detail::scaleMinDisparity(_minDisparity, scale),
        std::max(_disparityNumber - 16 * halvings, 16),
        scale == 1 ? _windowSize : _windowSize - scale,
        _speckleRange / scale,
        _speckleWindowSize / scale,
    };

    if (_stereoAlgorithm == BM) {
        detail::logRecord(tarn::LogLevel::Verbose, stereoCategory, method, "Compute disparity (BM)...");
        const auto matcher = cv::StereoBM::create(0, 21);
        setScaled(*matcher, scaled);
        matcher->setPreFilterSize(_preFilterSize);
        matcher->setPreFilterCap(_preFilterCap);
        matcher->setTextureThreshold(_textureThreshold);
        matcher->setUniquenessRatio(_uniquenessRatio);
        return match(*matcher, left, right);
    }
    if (_stereoAlgorithm == SGBM) {
        detail::logRecord(tarn::LogLevel::Verbose, stereoCategory, method, "Compute disparity (SGBM)...");
        // Penalties, left-right check and mode keep OpenCV's defaults, whatever the parameters for them say.
        const auto matcher =
            cv::StereoSGBM::create(scaled.minDisparity, scaled.disparityNumber, scaled.blockSize);
        setScaled(*matcher, scaled);
        matcher->setPreFilterCap(_preFilterCap);
        matcher->setUniquenessRatio(_uniquenessRatio);
        const int missing = countMissingColumns(scaled, left.cols);
        if (missing > 0) {
            return match(*matcher, widen(left, missing), widen(right, missing))
                .colRange(0, left.cols)
                .clone();
        }
        return match(*matcher, left, right);
    }
    return cv::Mat();
}

} // namespace vision
