// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_OUTPUT_PICTURE_SCALE_H
#define VISION_TOOLKIT_OUTPUT_PICTURE_SCALE_H

#include <vision/toolkit/export.h>

#include <opencv2/core/mat.hpp>

#include <functional>
#include <optional>

namespace vision::toolkit {

/// The values at the ends of the colours of a picture; low is below high.
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

/// A range in which nearly all values of an image lie: all but half a percent at both ends, and a tenth more
/// there, but not beyond the least and the largest value.
/// @param values `CV_32FC1`; those that are not finite do not count
/// @return nothing when none counts
VISION_TOOLKIT_EXPORT std::optional<ColourRange> findColourRange(const cv::Mat& values);

} // namespace vision::toolkit

#endif
