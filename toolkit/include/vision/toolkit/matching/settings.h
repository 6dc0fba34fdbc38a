// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_MATCHING_SETTINGS_H
#define VISION_TOOLKIT_MATCHING_SETTINGS_H

#include <vision/toolkit/export.h>

#include <optional>

namespace vision::toolkit {

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
    bool bothWays = true;  ///< keep only what the match from right to left confirms
    bool dense = false;    ///< fill what full size could not match from half, then a quarter of the size
};

/// Gives every value that is missing the default of the algorithm. P1 and P2 stay empty for bm and sgbm.
/// @param width of the images, px: smaller ones get smaller windows
/// @throws Failure when a value is out of range or does nothing for the algorithm
VISION_TOOLKIT_EXPORT MatcherSettings withDefaults(const MatcherSettings& settings, int width);

} // namespace vision::toolkit

#endif
