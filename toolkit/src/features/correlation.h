// SPDX-License-Identifier: Apache-2.0
/// @file
/// Normalised correlation of small patches.
#ifndef VISION_TOOLKIT_SRC_FEATURES_CORRELATION_H
#define VISION_TOOLKIT_SRC_FEATURES_CORRELATION_H

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

namespace vision::toolkit {

/// An image, or a part of one, prepared for many patches to be searched in it. OpenCV's matchTemplate()
/// transforms and sums the image up anew for each patch, which takes several times as long for small ones.
class CorrelationTarget
{
public:
    static constexpr int widestPatch = 16; ///< px

    /// @param grey `CV_8UC1`
    explicit CorrelationTarget(const cv::Mat& grey);

    [[nodiscard]] cv::Size size() const { return _size; }

    /// Compares a patch with all places where it lies within a part of the image.
    /// @param patch `CV_8UC1`, at most widestPatch wide and high
    /// @return `CV_32FC1`, the correlation coefficient for each place of the patch's top left pixel, 0 where
    /// the image is even
    [[nodiscard]] cv::Mat correlate(const cv::Mat& patch, const cv::Rect& part) const;

private:
    cv::Size _size;
    cv::Mat_<short> _values; ///< wider than the image, so that whole registers can be read at its end
    cv::Mat_<int> _sums;     ///< integral images, modulo 2^32: the differences that are taken are smaller
    cv::Mat_<int> _squares;
};

} // namespace vision::toolkit

#endif
