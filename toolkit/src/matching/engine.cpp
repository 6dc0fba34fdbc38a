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
    if (!settings.fullWidth) {
        return {half, half, half};
    }
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

cv::Mat matchWithPenalties(const cv::Mat& left, const cv::Mat& right, const SearchRange& range,
                           const MatcherSettings& settings)
{
    constexpr int largestLeftRightDifference = 1;
    constexpr double pixelsPerUnit = 1.0 / 16;
    const auto matcher = cv::StereoSGBM::create(range.minDisparity,
                                                range.disparities,
                                                *settings.window,
                                                *settings.p1,
                                                *settings.p2,
                                                largestLeftRightDifference,
                                                *settings.preFilterCap,
                                                *settings.uniqueness,
                                                *settings.speckleWindow,
                                                *settings.speckleRange,
                                                cv::StereoSGBM::MODE_SGBM_3WAY);
    cv::Mat raw;
    cv::Mat disparity;
    matcher->compute(left, right, raw);
    raw.convertTo(disparity, CV_32F, pixelsPerUnit);
    return disparity;
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
    const cv::Mat matched = settings.algorithm == Algorithm::Sgm
                                ? matchWithPenalties(extendedLeft, extendedRight, range, settings)
                                : matchByCore(extendedLeft, extendedRight, range, settings);
    cv::Mat disparity = matched(cv::Rect({borders.left, borders.vertical}, left.size())).clone();
    disparity.setTo(infinity, disparity < range.minDisparity);
    return disparity;
}

cv::Mat findUnsearched(const cv::Size& size, const SearchRange& range, bool fullWidth)
{
    // With the full width, a pixel can be searched when one disparity of the range leads into the other
    // image.
    const int first = fullWidth ? range.minDisparity : blankLeft(range);
    const int behindLast = size.width + (fullWidth ? range.maxDisparity() : -blankRight(range));
    cv::Mat unsearched(size, CV_8UC1, cv::Scalar::all(255));
    const cv::Range columns(std::clamp(first, 0, size.width), std::clamp(behindLast, 0, size.width));
    if (columns.start < columns.end) {
        unsearched.colRange(columns).setTo(0);
    }
    return unsearched;
}

} // namespace vision::toolkit
