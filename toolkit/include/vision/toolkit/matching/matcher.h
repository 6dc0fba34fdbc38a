// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_MATCHING_MATCHER_H
#define VISION_TOOLKIT_MATCHING_MATCHER_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/matching/search_range.h>

#include <opencv2/core/mat.hpp>

#include <optional>

namespace vision::toolkit {

/// Two images whose corresponding points lie on the same row.
struct RectifiedPair
{
    cv::Mat left;       ///< `CV_8UC1`
    cv::Mat right;      ///< `CV_8UC1`, of the same size
    cv::Mat leftValid;  ///< `CV_8UC1`, 0 where the image shows nothing; empty when all of it is valid
    cv::Mat rightValid; ///< the same for the right image
};

/// What compares the two images.
enum class Algorithm
{
    Bm,   ///< block matching: `vision::Stereo::BM`
    Sgbm, ///< block matching with another cost, as it has no penalties: `vision::Stereo::SGBM`
    Sgm,  ///< semi-global matching with smoothness penalties: `cv::StereoSGBM::MODE_SGBM_3WAY`
};

/// How a pair is matched. What is not given takes the default of the algorithm.
struct MatcherSettings
{
    Algorithm algorithm = Algorithm::Sgm;
    std::optional<int> window; ///< edge length of the compared blocks, px; odd, 5 to 255, of sgm 1 to 21
    std::optional<int> p1;     ///< sgm only: penalty of a change of 1 px; default 10 window^2, at most 810
    std::optional<int> p2;     ///< sgm only: of a larger change, above p1; default 64 window^2, at most 5184
    std::optional<int> uniqueness;    ///< percent by which the best match must beat the others; 0 to 100
    std::optional<int> preFilterCap;  ///< clipping value of prefiltered pixels; 1 to 63
    std::optional<int> preFilterSize; ///< bm only: edge length of the prefilter's window, px; odd, 5 to 255
    std::optional<int> speckleWindow; ///< largest region removed as speckle, pixels; 0 (none) to 1000
    std::optional<int> speckleRange;  ///< largest step of disparity inside one region, px; 0 to 31
    std::optional<int> textureThreshold; ///< bm only: least texture of a block that is matched; 0 to 10000

    bool fullWidth = true; ///< also match the strip at the left where not the whole range can be searched
    bool leftRightCheck = true; ///< keep only what the match from right to left confirms
    bool dense = false;         ///< fill what full size could not match from half, then a quarter of the size
};

/// Gives every value that is missing the default of the algorithm. P1 and P2 stay empty for bm and sgbm.
/// @param width of the images, px: smaller ones get smaller windows
/// @throws Failure when a value is out of range or does nothing for the algorithm
VISION_TOOLKIT_EXPORT MatcherSettings withDefaults(const MatcherSettings& settings, int width);

/// What matching gives for each pixel of the left image.
struct Matches
{
    cv::Mat disparity;  ///< `CV_32FC1`, px; +infinity where nothing was matched
    cv::Mat unsearched; ///< `CV_8UC1`, 255 where no match could be looked for, otherwise 0
    cv::Mat levels;     ///< `CV_8UC1`, dense only: 0 not matched, 1 at full size, 2 at half, 3 at a quarter
};

/// Matches a rectified pair, of any size.
///
/// Matches that lie outside the right image or where it shows nothing are dropped. Images too small for the
/// range or the window are no error: what cannot be searched is not matched.
/// @throws Failure as withDefaults(), or when the images are no pair of `CV_8UC1` images of the same size
VISION_TOOLKIT_EXPORT Matches match(const RectifiedPair& pair, const SearchRange& range,
                                    const MatcherSettings& settings);

/// Finds the disparities that occur in a pair, with a margin, by matching it coarsely over 60 % of its width.
/// @param lowestPossible px, no disparity below it is looked for: that at infinity where it is known
/// @return nothing when too little of the images matches
VISION_TOOLKIT_EXPORT std::optional<DisparityRange> findDisparityRange(const RectifiedPair& pair,
                                                                       double lowestPossible);

} // namespace vision::toolkit

#endif
