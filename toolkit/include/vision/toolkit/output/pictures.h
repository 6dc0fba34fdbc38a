// SPDX-License-Identifier: Apache-2.0
/// @file
/// Results for people to look at. Colours go from blue (far) to red (near) in the even steps of the map
/// "Turbo". A legend of the size that the picture asks for stands on its right, and makes a very low picture
/// higher.
/// Pixels without a colour of their own are
/// - black: without a value, since nothing was matched or the point is not trusted;
/// - dark grey: never searched, since the other image cannot show them;
/// - magenta: nearer than the range of the colours; light grey: farther.
#ifndef VISION_TOOLKIT_OUTPUT_PICTURES_H
#define VISION_TOOLKIT_OUTPUT_PICTURES_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/files/output_files.h>

#include <opencv2/core/mat.hpp>

#include <functional>
#include <optional>

namespace vision::toolkit {

/// The values at the ends of the colours of a picture; low is below high, see requireUsable().
struct ColourRange
{
    double low;
    double high;
};

/// The depth in m of a disparity in px; not positive or not finite for one that no point has.
using DepthOfDisparity = std::function<double(double)>;

/// What the colours of the pictures of a pair mean. For the pictures of a sequence to be comparable, all get
/// the same.
struct PictureScale
{
    std::optional<ColourRange> disparity; ///< px; of each picture itself when not given
    std::optional<ColourRange> depth;     ///< m; of each picture itself when not given
    DepthOfDisparity depthAt;             ///< empty when the depths are not known
};

/// Tests whether a range can be drawn.
/// @throws Failure "colour-range" when an end is not finite or beyond a million, or less than a thousandth
///         lies between both
VISION_TOOLKIT_EXPORT void requireUsable(const ColourRange& range);

/// A range in which nearly all values of an image lie: all but half a percent at both ends, and a tenth more
/// there, but not beyond the least and the largest value.
/// @param values `CV_32FC1`; those that are not finite do not count
/// @return nothing when none counts
VISION_TOOLKIT_EXPORT std::optional<ColourRange> findColourRange(const cv::Mat& values);

/// Draws both rectified images side by side with lines along the rows, on which corresponding points lie:
/// green ones, or dashes of black and white over grey images, which take a third of the bytes.
/// @param left,right `CV_8UC1` or `CV_8UC3` of the same size
/// @return twice as wide; `CV_8UC1` when both are grey, else `CV_8UC3`
VISION_TOOLKIT_EXPORT cv::Mat drawRectifiedRows(const cv::Mat& left, const cv::Mat& right);

/// Draws a disparity image with a legend in px and, if the scale knows depths, metres.
///
/// Where nothing was matched and no range is given there is no scale to show: the legend says so.
/// @param disparity `CV_32FC1`, px; not finite where nothing was matched
/// @param unsearched `CV_8UC1` of the same size, not 0 where the matcher cannot search; may be empty
/// @return `CV_8UC3`
/// @throws Failure as requireUsable() for a range that is given
VISION_TOOLKIT_EXPORT cv::Mat drawDisparity(const cv::Mat& disparity, const cv::Mat& unsearched,
                                            const PictureScale& scale);

/// Draws a depth image with a legend in metres, as drawDisparity().
/// @param depth `CV_32FC1`, m; 0 where there is none
VISION_TOOLKIT_EXPORT cv::Mat drawDepth(const cv::Mat& depth, const cv::Mat& unsearched,
                                        const PictureScale& scale);

/// Draws which size of the images the match of each pixel was found in, with the share of each.
/// @param levels `CV_8UC1`: 0 not matched, 1 at full size, 2 at half, 3 at a quarter
/// @param unsearched as for drawDisparity()
/// @return `CV_8UC3`
VISION_TOOLKIT_EXPORT cv::Mat drawLevels(const cv::Mat& levels, const cv::Mat& unsearched);

/// Encodes an image or a picture as PNG, with the channels and the bit depth that it has.
/// @param image 8 or 16 bits; 1, 3 (BGR) or 4 channels
/// @throws cv::Exception for any other image
/// @throws Failure "cannot-encode" when OpenCV lacks the format
VISION_TOOLKIT_EXPORT Bytes encodePng(const cv::Mat& image);

} // namespace vision::toolkit

#endif
