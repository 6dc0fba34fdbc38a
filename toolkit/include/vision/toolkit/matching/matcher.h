// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_MATCHING_MATCHER_H
#define VISION_TOOLKIT_MATCHING_MATCHER_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/matching/search_range.h>

#include <opencv2/core/mat.hpp>

#include <memory>
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
    Sgm,  ///< semi-global matching of this library: census and gradients, in 8 bits, along paths
};

/// How much a match of sgm must hold before it is kept.
enum class Trust
{
    Usual, ///< both images choose it from the same sums of costs
    High,  ///< a second matching, from the right image to the left one, confirms it: takes twice as long
};

/// How a pair is matched. What is not given takes the default of the algorithm.
struct MatcherSettings
{
    Algorithm algorithm = Algorithm::Sgm;
    std::optional<int> window; ///< bm, sgbm: edge length of the compared blocks, px; odd, 5 to 255
    std::optional<int>
        uniqueness; ///< bm, sgbm: percent by which the best match must beat the others; 0 to 100
    std::optional<int> preFilterCap;  ///< bm, sgbm: clipping value of prefiltered pixels; 1 to 63
    std::optional<int> preFilterSize; ///< bm: edge length of the prefilter's window, px; odd, 5 to 255
    std::optional<int> speckleWindow; ///< largest region removed as speckle, pixels; 0 (none) to 1000
    std::optional<int> speckleRange;  ///< bm, sgbm: largest step of disparity inside one region, px; 0 to 31
    std::optional<int> textureThreshold; ///< bm: least texture of a block that is matched; 0 to 10000
    Trust trust = Trust::Usual;          ///< sgm
    double leastConfidence = 0; ///< sgm: matches below it are dropped, 0 (none) to 1, see Matches::confidence
    bool dense = false;         ///< fill what full size could not match from half, then a quarter of the size
};

/// Gives every value that is missing the default of the algorithm; what the algorithm has not stays empty.
/// @param width of the images, px: smaller ones get smaller windows
/// @throws Failure when a value is out of range or does nothing for the algorithm
VISION_TOOLKIT_EXPORT MatcherSettings withDefaults(const MatcherSettings& settings, int width);

/// What matching gives for each pixel of the left image.
struct Matches
{
    cv::Mat disparity;  ///< `CV_32FC1`, px; +infinity where nothing was matched
    cv::Mat unsearched; ///< `CV_8UC1`, 255 where no match could be looked for, otherwise 0
    /// `CV_32FC1`, 0 to 1: of the matches that have this value, the share that is right within 2 px; 0 where
    /// nothing was matched. Of sgm only, otherwise empty.
    cv::Mat confidence;
    cv::Mat levels; ///< `CV_8UC1`, dense only: 0 not matched, 1 at full size, 2 at half, 3 at a quarter
};

/// Matches rectified pairs of any size: over the full width, and keeping only what both images agree on.
///
/// It keeps its memory from pair to pair. One object per thread.
class VISION_TOOLKIT_EXPORT Matcher
{
public:
    /// @param threads how many threads match one pair with sgm; the result is the same for any number
    explicit Matcher(unsigned threads = 1);
    ~Matcher();
    Matcher(Matcher&&) noexcept;
    Matcher& operator=(Matcher&&) noexcept;

    /// Matches a pair.
    ///
    /// Matches that lie outside the right image or where it shows nothing are dropped. Images too small for
    /// the range or the window are no error: what cannot be searched is not matched.
    /// @param matches takes the result; the memory of its images is used again where it fits
    /// @throws Failure as withDefaults(), or when the images are no pair of `CV_8UC1` images of the same size
    void match(const RectifiedPair& pair, const SearchRange& range, const MatcherSettings& settings,
               Matches& matches);

    /// Finds the disparities that occur in a pair, with a margin, by matching it coarsely over 60 % of its
    /// width.
    /// @param lowestPossible px, no disparity below it is looked for: that at infinity where it is known
    /// @return nothing when too little of the images matches
    std::optional<DisparityRange> findDisparityRange(const RectifiedPair& pair, double lowestPossible);

private:
    struct Engines;
    std::unique_ptr<Engines> _engines;
};

/// Matches one pair with a Matcher of its own.
VISION_TOOLKIT_EXPORT Matches match(const RectifiedPair& pair, const SearchRange& range,
                                    const MatcherSettings& settings);

} // namespace vision::toolkit

#endif
