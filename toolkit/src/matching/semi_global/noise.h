// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_NOISE_H
#define VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_NOISE_H

#include <opencv2/core/mat.hpp>

namespace vision::toolkit::semi_global {

/// Estimates how noisy an image is.
///
/// Second differences in both directions leave noise and little else; their 20th percentile is that of the
/// plain parts of the image.
/// @param image `CV_8UC1`
/// @param valid `CV_8UC1`, 0 where the image shows nothing; may be empty
/// @return the percentile, about 1.5 standard deviations of the noise in grey levels; 0 of a clean image
int estimateNoise(const cv::Mat& image, const cv::Mat& valid);

} // namespace vision::toolkit::semi_global

#endif
