// SPDX-License-Identifier: Apache-2.0
#include "matching/engine.h"

#include "matching/blank_calibration.h"

#include <vision/stereo.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <limits>

namespace vision::toolkit {

namespace {

/// How far the images are extended on each side before they are matched, px.
struct Borders
{
    int left;
    int right;
    int vertical;
};

/// The columns at the left and at the right that the matchers leave blank, as not the whole range lies inside
/// the other image there.
int blankLeft(const SearchRange& range)
{
    return std::max(range.maxDisparity() + 1, 0);
}

int blankRight(const SearchRange& range)
{
    return std::max(-range.minDisparity, 0);
}

/// Half a block more all around: the matchers leave that blank too, and read past their buffers where there
/// is less.
Borders findBorders(const SearchRange& range, const MatcherSettings& settings)
{
    const int half = *settings.window / 2 + 1;
    return {blankLeft(range) + half, blankRight(range) + half, half};
}

/// Lets the core match. Its calibrations are as wide as the images, so that it takes its parameters as they
/// are.
cv::Mat matchByCore(const cv::Mat& left, const cv::Mat& right, const SearchRange& range,
                    const MatcherSettings& settings)
{
    vision::Stereo stereo;
    const vision::Calibration calibration = makeBlankCalibration(left.size());
    stereo.setCalibrations(calibration, calibration);
    stereo.setMinDisparity(range.minDisparity + 1); // it starts one below
    stereo.setDisparityNumber(range.disparities);
    stereo.setWindowSize(*settings.window);
    stereo.setUniquenessRatio(*settings.uniqueness);
    stereo.setPreFilterCap(*settings.preFilterCap);
    stereo.setSpeckleWindowSize(*settings.speckleWindow);
    stereo.setSpeckleRange(*settings.speckleRange);
    if (settings.algorithm == Algorithm::Bm) {
        stereo.setStereoAlgorithm(vision::Stereo::BM);
        stereo.setPreFilterSize(*settings.preFilterSize);
        stereo.setTextureThreshold(*settings.textureThreshold);
    } else {
        stereo.setStereoAlgorithm(vision::Stereo::SGBM);
    }
    return stereo.computeDisparity(left, right);
}

cv::Mat extend(const cv::Mat& image, const Borders& borders)
{
    cv::Mat extended;
    cv::copyMakeBorder(image,
                       extended,
                       borders.vertical,
                       borders.vertical,
                       borders.left,
                       borders.right,
                       cv::BORDER_REPLICATE | cv::BORDER_ISOLATED);
    return extended;
}

} // namespace

cv::Mat matchOneWay(const cv::Mat& left, const cv::Mat& right, const SearchRange& range,
                    const MatcherSettings& settings)
{
    const Borders borders = findBorders(range, settings);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const int searchable =
        left.cols + borders.left + borders.right - blankLeft(range) - blankRight(range) - *settings.window;
    if (searchable <= 0) {
        return cv::Mat(left.size(), CV_32FC1, cv::Scalar::all(infinity));
    }
    const cv::Mat extendedLeft = extend(left, borders);
    const cv::Mat extendedRight = extend(right, borders);
    const cv::Mat matched = matchByCore(extendedLeft, extendedRight, range, settings);
    cv::Mat disparity = matched(cv::Rect({borders.left, borders.vertical}, left.size())).clone();
    disparity.setTo(infinity, disparity < range.minDisparity);
    return disparity;
}

cv::Mat findUnsearched(const cv::Size& size, const SearchRange& range)
{
    // A pixel can be searched when one disparity of the range leads into the other image.
    const int first = range.minDisparity;
    const int behindLast = size.width + range.maxDisparity();
    cv::Mat unsearched(size, CV_8UC1, cv::Scalar::all(255));
    const cv::Range columns(std::clamp(first, 0, size.width), std::clamp(behindLast, 0, size.width));
    if (columns.start < columns.end) {
        unsearched.colRange(columns).setTo(0);
    }
    return unsearched;
}

} // namespace vision::toolkit
