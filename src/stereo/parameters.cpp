// SPDX-License-Identifier: Apache-2.0
#include "log_categories.h"

#include <vision/stereo.h>

#include <cstdint>
#include <stdexcept>

namespace vision {

namespace {

bool isWithin(int value, int lowest, int highest)
{
    return lowest <= value && value <= highest;
}

bool isOddWithin(int value, int lowest, int highest)
{
    return value % 2 != 0 && isWithin(value, lowest, highest);
}

/// The texts of a refusal. The log record names the value, the exception does not.
struct Texts
{
    const char* setter = "";
    const char* thrown = "";
    const char* loggedBeforeValue = "";
    const char* loggedBehindValue = ").";
};

void require(bool valid, int value, const Texts& texts)
{
    if (!valid) {
        detail::refuse<std::range_error>(detail::stereoCategory,
                                         texts.setter,
                                         texts.thrown,
                                         texts.loggedBeforeValue,
                                         value,
                                         texts.loggedBehindValue);
    }
}

bool orderByArea(const cv::Size& left, const cv::Size& right)
{
    // The product of 32 bits counts. It is formed in 64 bits, as an overflow would be undefined.
    const auto area = [](const cv::Size& size) {
        return static_cast<std::int32_t>(std::int64_t{size.width} * size.height);
    };
    return area(left) < area(right);
}

} // namespace

Stereo::Stereo() : _imageTransforms(orderByArea) {}

float Stereo::getMaxDepth() const
{
    return _maxDepth;
}

void Stereo::setMaxDepth(float depth)
{
    // A comparison that NaN passes, since it is accepted.
    if (0 >= depth) {
        detail::refuse<std::range_error>(
            detail::stereoCategory, "setMaxDepth", "Invalid distance.", "Distance must be positive.");
    }
    _maxDepth = depth;
}

Stereo::StereoAlgorithm Stereo::getStereoAlgorithm() const
{
    return _stereoAlgorithm;
}

void Stereo::setStereoAlgorithm(const StereoAlgorithm& algorithm)
{
    _stereoAlgorithm = algorithm;
}

int Stereo::getWindowSize() const
{
    return _windowSize;
}

void Stereo::setWindowSize(int size)
{
    require(
        isOddWithin(size, 5, 255), size, {"setWindowSize", "Invalid window size.", "Invalid window size ("});
    _windowSize = size;
}

int Stereo::getMinDisparity() const
{
    return _minDisparity;
}

void Stereo::setMinDisparity(int disparity)
{
    const std::int64_t bound = _leftCalibration.width; // its negation may not fit an int
    require(-bound <= disparity && disparity <= bound,
            disparity,
            {"setMinDisparity", "Invalid min disparity.", "Invalid min disparity ("});
    _minDisparity = disparity;
}

int Stereo::getDisparityNumber() const
{
    return _disparityNumber;
}

void Stereo::setDisparityNumber(int number)
{
    require(number > 0 && number % 16 == 0,
            number,
            {"setDisparityNumber",
             "Invalid disparity number.",
             "Invalid disparity number (",
             "), must be multiple of 16 and strictly positive."});
    _disparityNumber = number;
}

int Stereo::getPreFilterCap() const
{
    return _preFilterCap;
}

void Stereo::setPreFilterCap(int cap)
{
    require(
        isWithin(cap, 1, 63), cap, {"setPreFilterCap", "Invalid prefilter cap.", "Invalid Prefilter cap ("});
    _preFilterCap = cap;
}

int Stereo::getPreFilterSize() const
{
    return _preFilterSize;
}

void Stereo::setPreFilterSize(int size)
{
    require(isOddWithin(size, 5, 255),
            size,
            {"setPreFilterSize", "Invalid prefilter size.", "Invalid Prefilter size ("});
    _preFilterSize = size;
}

int Stereo::getSpeckleRange() const
{
    return _speckleRange;
}

void Stereo::setSpeckleRange(int range)
{
    require(isWithin(range, 0, 31),
            range,
            {"setSpeckleRange", "Invalid speckle range.", "Invalid Speckle range ("});
    _speckleRange = range;
}

int Stereo::getSpeckleWindowSize() const
{
    return _speckleWindowSize;
}

void Stereo::setSpeckleWindowSize(int size)
{
    require(isWithin(size, 0, 1000),
            size,
            {"setSpeckleWindowSize", "Invalid speckle window size.", "Invalid Speckle window size ("});
    _speckleWindowSize = size;
}

int Stereo::getTextureThreshold() const
{
    return _textureThreshold;
}

void Stereo::setTextureThreshold(int threshold)
{
    require(isWithin(threshold, 0, 10000),
            threshold,
            {"setTextureThreshold", "Invalid texture threshold.", "Invalid Texture threshold ("});
    _textureThreshold = threshold;
}

int Stereo::getUniquenessRatio() const
{
    return _uniquenessRatio;
}

void Stereo::setUniquenessRatio(int ratio)
{
    require(isWithin(ratio, 0, 100),
            ratio,
            {"setUniquenessRatio", "Invalid uniqueness ratio.", "Invalid Uniqueness ratio ("});
    _uniquenessRatio = ratio;
}

int Stereo::getP1() const
{
    return _P1;
}

void Stereo::setP1(int penalty)
{
    require(penalty >= 0, penalty, {"setP1", "Invalid P1.", "Invalid value for P1 ("});
    _P1 = penalty;
}

int Stereo::getP2() const
{
    return _P2;
}

void Stereo::setP2(int penalty)
{
    require(penalty >= 0, penalty, {"setP2", "Invalid P2.", "Invalid value for P2 ("});
    _P2 = penalty;
}

int Stereo::getDisp12MaxDiff() const
{
    return _disp12MaxDiff;
}

void Stereo::setDisp12MaxDiff(int difference)
{
    _disp12MaxDiff = difference;
}

bool Stereo::getFullDP() const
{
    return _fullDP;
}

void Stereo::setFullDP(bool fullDP)
{
    _fullDP = fullDP;
}

void Stereo::resetAllParameters()
{
    setWindowSize(21);
    setMinDisparity(1);
    setDisparityNumber(80);
    setPreFilterCap(31);
    setPreFilterSize(25);
    setSpeckleRange(10);
    setSpeckleWindowSize(400);
    setTextureThreshold(1);
    setUniquenessRatio(2);
    setP1(8 * _windowSize * _windowSize);
    setP2(32 * _windowSize * _windowSize);
    setDisp12MaxDiff(0);
    setFullDP(false);
}

} // namespace vision
