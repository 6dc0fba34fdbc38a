// SPDX-License-Identifier: Apache-2.0
/// @file
/// How far a disparity image is from the truth.
/// Disparities, ground truth and masks from files.
#ifndef VISION_TOOLKIT_EVALUATION_EVALUATION_H
#define VISION_TOOLKIT_EVALUATION_EVALUATION_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/input/images.h>
#include <vision/toolkit/note.h>

#include <opencv2/core/mat.hpp>

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace vision::toolkit {

/// The errors, in px, beyond which pixels count as bad.
inline constexpr std::array<double, 4> badLimits{0.5, 1, 2, 4};

/// Shares, from 0 to 1, of the pixels that are wrong by one measure or another.
struct WrongShares
{
    std::array<double, badLimits.size()> bad; ///< the error is larger than each of badLimits
    double d1; ///< the error is larger than 3 px and than 5 % of the truth, as KITTI defines D1
};

/// What is not a number, because no pixel with truth has a value, is NaN.
struct Evaluation
{
    std::size_t truth;   ///< pixels with truth, inside the mask
    std::size_t matched; ///< those of them that have a value
    double density;      ///< matched / truth
    double average;      ///< mean absolute error of the matched pixels, px
    double rms;          ///< root of their mean squared error, px
    WrongShares ofMatched;
    WrongShares ofTruth; ///< of all pixels with truth; those without a value are wrong
};

/// Compares a disparity image with the truth.
/// @param disparity,truth `CV_32FC1`, px, of the same size; not finite where there is no value
/// @param mask `CV_8UC1` of that size, 0 in the pixels that do not count; empty when all count
/// @throws Failure when the sizes differ or no pixel that counts has truth
/// @throws cv::Exception when a type differs
VISION_TOOLKIT_EXPORT Evaluation evaluate(const cv::Mat& disparity, const cv::Mat& truth,
                                          const cv::Mat& mask = {});

/// Notes values that are the truth times some factor ("units-differ") or one over it ("is-depth"): the
/// figures of evaluate() mean nothing then.
/// @param disparity,truth,mask as for evaluate()
/// @throws as evaluate(), when sizes or types differ
VISION_TOOLKIT_EXPORT Notes judgeUnits(const cv::Mat& disparity, const cv::Mat& truth,
                                       const cv::Mat& mask = {});

/// Draws the error of every pixel in steps of badLimits, from blue to red, with the share of each among the
/// pixels with truth: black without a value, dark grey without truth or outside the mask.
/// @param disparity,truth,mask as for evaluate()
/// @return `CV_8UC3`, with a legend on its right
/// @throws as evaluate()
VISION_TOOLKIT_EXPORT cv::Mat drawError(const cv::Mat& disparity, const cv::Mat& truth,
                                        const cv::Mat& mask = {});

/// A disparity image as a file gives it.
struct DisparityFile
{
    cv::Mat disparity; ///< `CV_32FC1`, px; +infinity where there is no value
    bool hasLevels;    ///< whether the file has grey levels of 8 bits, to which the scale was applied
};

/// Reads a disparity image.
///
/// - Portable float map (PFM) or TIFF with floats: px; not finite, 0 or negative for no value. The scale in
///   the header of a PFM tells the byte order by its sign; its magnitude is not applied.
/// - 16 bits: 256 a px; 0 for no value.
/// - 8 bits: grey levels; 0 for no value.
/// @param pxPerLevel disparity of one grey level in px, positive; only for files of 8 bits
/// @throws Failure naming the file when it cannot be read, holds something else or needs pxPerLevel
VISION_TOOLKIT_EXPORT DisparityFile readDisparity(const std::string& file, std::optional<double> pxPerLevel,
                                                  const ImageLimits& limits = {});

/// Reads a mask: a grey image that is black in the pixels that do not count.
/// @return `CV_8UC1`, 255 in the pixels that count and 0 in the others
/// @throws Failure naming the file when it cannot be read, is not grey or nothing counts
VISION_TOOLKIT_EXPORT cv::Mat readMask(const std::string& file, const ImageLimits& limits = {});

} // namespace vision::toolkit

#endif
