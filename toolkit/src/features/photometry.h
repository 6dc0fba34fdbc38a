// SPDX-License-Identifier: Apache-2.0
/// @file
/// Differences of brightness and sharpness between the images of a pair.
#ifndef VISION_TOOLKIT_SRC_FEATURES_PHOTOMETRY_H
#define VISION_TOOLKIT_SRC_FEATURES_PHOTOMETRY_H

#include <vision/toolkit/features/row_offsets.h>
#include <vision/toolkit/note.h>

#include <opencv2/core/mat.hpp>

#include <cstddef>

namespace vision::toolkit {

/// The right image against the left one, around matching points, so that it does not matter what only one of
/// them sees: right = gain * left + offset.
struct PhotometricDifference
{
    double gain = 1;
    double offset = 0;     ///< grey levels
    double brightness = 0; ///< median difference of the means, grey levels
    double sharpness =
        1; ///< median ratio of the fine structure, right over left; a blurred right image has less than 1
    std::size_t points = 0;
};

/// Compares patches of 15 px around matching points: the gain is the median ratio of their contrasts, the
/// sharpness that of the energy of vertical derivatives over contrast (slanted surfaces change horizontal
/// ones).
/// @param left,right rectified, `CV_8UC1`
PhotometricDifference comparePhotometry(const cv::Mat& left, const cv::Mat& right,
                                        const FeatureMatches& features);

/// What of it is large; nothing for fewer than 12 points:
/// - "exposure-differs" (info): one image is brighter or has more contrast
/// - "image-blurred" (doubtful): one image is less sharp; the subject says which
Notes judgePhotometry(const PhotometricDifference& difference);

/// Whether both images are one: raw images that differ by less than a twentieth of what is in them.
/// @return "identical-images" (wrong), or nothing
Notes judgeIdentity(const cv::Mat& rawLeft, const cv::Mat& rawRight);

} // namespace vision::toolkit

#endif
