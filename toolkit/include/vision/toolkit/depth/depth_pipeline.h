// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_DEPTH_DEPTH_PIPELINE_H
#define VISION_TOOLKIT_DEPTH_DEPTH_PIPELINE_H

#include <vision/stereo.h>
#include <vision/toolkit/depth/rig.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/features/row_offsets.h>
#include <vision/toolkit/input/images.h>
#include <vision/toolkit/matching/matcher.h>
#include <vision/toolkit/matching/search_range.h>
#include <vision/toolkit/note.h>

#include <opencv2/core/mat.hpp>
#include <opencv2/core/matx.hpp>

#include <cmath>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vision::toolkit {

/// What of the range is given; the images tell the rest. An end is given in one way or the other, not in
/// both.
struct RangeSettings
{
    std::optional<double> nearest;   ///< depth of the nearest thing, m
    std::optional<double> farthest;  ///< depth of the farthest thing, m
    std::optional<int> minDisparity; ///< smallest disparity searched, px of the rig's size
    std::optional<int> disparities;  ///< number of disparities searched, px of the rig's size
};

/// How the depth of pairs is computed.
struct DepthSettings
{
    /// What is given of it in px holds for the rig's size, the defaults at any size.
    MatcherSettings matcher;

    RangeSettings range;

    /// Points farther away are left out, m. Unless given, it is the farthest depth or that of the smallest
    /// disparity searched; with plain, 5.
    std::optional<double> maxDepth;

    /// Do exactly what the methods of `vision::Stereo` do, with bm or sgbm: their parameters and their range
    /// (from the given disparities and the largest depth), one way, over the width that they search.
    bool plain = false;

    /// How many threads match one pair with sgm; the result is the same for any number.
    unsigned threads = 1;

    /// Every so many pairs are judged, the first one among them, and looked at for a wider range; 0: none is.
    unsigned judgeEvery = 1;
};

/// Whether a pixel of the point image holds a point.
inline bool isTrusted(const cv::Vec3f& point)
{
    return point[2] > 0 && std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]);
}

/// The share of matched pixels and the depth of the trusted points.
struct DepthSummary
{
    double matched = 0; ///< share of all pixels, 0 to 1
    /// Of the matched pixels: the share of those without a point, as they are beyond the largest depth.
    double beyond = 0;
    std::size_t points = 0; ///< trusted ones; the depths are 0 when there are none
    float median = 0;       ///< m
    float nearest = 0;
    float farthest = 0;
};

/// "matched 63.1 %, depth median 0.420 m, range 0.310 to 4.870 m".
VISION_TOOLKIT_EXPORT std::string format(const DepthSummary& summary);

/// What one pair of images gives.
struct DepthResult
{
    cv::Mat left;        ///< rectified image as it is shown, `CV_8UC1` or `CV_8UC3`
    cv::Mat right;       ///< of the same size; may differ in type
    cv::Mat leftGrey;    ///< as it was matched, `CV_8UC1`
    cv::Mat rightGrey;   ///< of the same size
    cv::Mat disparity;   ///< `CV_32FC1`, px; +infinity where nothing was matched
    cv::Mat unsearched;  ///< `CV_8UC1`, 255 where no match could be looked for, otherwise 0
    cv::Mat confidence;  ///< as Matches::confidence; of sgm only
    cv::Mat levels;      ///< as Matches::levels; empty unless dense
    cv::Mat points;      ///< `CV_32FC3`, (0, 0, 0) where none can be trusted; empty without calibrations
    SearchRange range{}; ///< what was searched
    double maxDepth = 0; ///< where points end, m; 0 without calibrations
    std::optional<DepthScale> scale; ///< of disparities of this size; none without calibrations
    DepthSummary summary;

    /// What is to be known of the pair and of how it was computed. About the images:
    /// - "images-swapped", "images-do-not-correspond", "identical-images" (wrong)
    /// - "rows-differ", "not-rectified", "several-disparities-fit", "image-blurred" (doubtful)
    /// - "exposure-differs" (info)
    ///
    /// about the range:
    /// - "range-not-found": the images do not tell it
    /// - "range-ends-too-early", "range-starts-too-late": there are nearer or farther things
    ///
    /// and about the result:
    /// - "few-matches": hardly any pixel is matched
    /// - "beyond-largest-depth": much of what is matched is farther than the largest depth
    Notes notes;
    bool isJudged = false; ///< whether the notes tell of the images, see DepthSettings::judgeEvery
    RowOffsets rows;       ///< of a pair that is judged

    /// The worst severity among the notes.
    [[nodiscard]] VISION_TOOLKIT_EXPORT Severity severity() const;
};

/// Computes the depth of pairs that the same cameras took, one after the other. One object per thread.
///
/// What of the range is not given, the first pair tells; it is held for those that follow, and widened
/// whenever a pair that is judged shows nearer or farther things. setDisparityRange() sets it for good
/// instead.
class VISION_TOOLKIT_EXPORT DepthPipeline
{
public:
    /// @throws Failure naming the setting that cannot be used
    DepthPipeline(const Rig& rig, const DepthSettings& settings);

    /// Rectifies and matches a raw pair, computes its points and judges the result. The bit depth that the
    /// first images with 16 bits seem to have is held for those that follow.
    /// @param left,right images of the same size with 8 or 16 bits: grey, colour (BGR) or colour with alpha
    /// @throws Failure telling what to change when the images do not fit each other, the rig or the settings
    DepthResult compute(const cv::Mat& left, const cv::Mat& right);

    /// The same for a pair whose bit depth is known, or is to be told by itself.
    DepthResult compute(const RawPair& pair);

    /// Whether the range, or a part of it, must be found in the images.
    [[nodiscard]] bool needsDisparityRange() const;

    /// Finds the disparities that occur in a raw pair.
    /// @return nothing when too little of it matches
    /// @throws Failure when the images do not fit the rig
    [[nodiscard]] std::optional<DisparityRange> findDisparityRange(const RawPair& pair);

    /// Sets what findDisparityRange() found, in one pair or joined from many, for all pairs that follow.
    /// @param range nothing: to be found again, in the next pair
    void setDisparityRange(const std::optional<DisparityRange>& range);

    /// Rectifies a raw pair as it is, with its channels and bit depth.
    /// @throws Failure when the images do not fit the rig
    [[nodiscard]] RawPair rectify(const RawPair& pair) const;

    [[nodiscard]] const Rig& rig() const { return _rig; }

private:
    ImagePair rectifyPair(const ImagePair& pair) const;
    RectifiedPair makePair(const ImagePair& rectified) const;
    void lookForRange(const RectifiedPair& pair, bool widens);
    SearchRange chooseSearch(int width, Notes& notes) const;
    DepthResult match(const ImagePair& rectified, bool isJudged);
    void addPoints(DepthResult& depth);

    /// Where the rectified images show something, for images of one size.
    struct ValidAreas
    {
        cv::Size size;
        cv::Mat left; ///< empty when all of it is valid
        cv::Mat right;
    };

    Rig _rig;
    DepthSettings _settings;
    std::optional<DisparityRange> _range; ///< that is held or set
    bool _isRangeSet = false;
    std::size_t _pairs = 0;                  ///< computed so far
    int _bits = 0;                           ///< that are held; 0 before the first pair with 16 bits
    std::unique_ptr<vision::Stereo> _stereo; // which itself cannot be moved
    mutable ValidAreas _validAreas;
    Matcher _matcher;
};

} // namespace vision::toolkit

#endif
