// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_DEPTH_DEPTH_PIPELINE_H
#define VISION_TOOLKIT_DEPTH_DEPTH_PIPELINE_H

#include <vision/stereo.h>
#include <vision/toolkit/depth/rig.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/input/images.h>
#include <vision/toolkit/matching/matcher.h>
#include <vision/toolkit/matching/search_range.h>
#include <vision/toolkit/note.h>

#include <opencv2/core/mat.hpp>
#include <opencv2/core/matx.hpp>

#include <cmath>
#include <cstddef>
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
};

/// What one pair of images gives.
struct PairDepth
{
    cv::Mat left;        ///< rectified image as it is shown, `CV_8UC1` or `CV_8UC3`
    cv::Mat right;       ///< of the same size; may differ in type
    cv::Mat leftGrey;    ///< as it was matched, `CV_8UC1`
    cv::Mat rightGrey;   ///< of the same size
    cv::Mat disparity;   ///< `CV_32FC1`, px; +infinity where nothing was matched
    cv::Mat unsearched;  ///< `CV_8UC1`, 255 where no match could be looked for, otherwise 0
    cv::Mat levels;      ///< as Matches::levels; empty unless dense
    cv::Mat points;      ///< `CV_32FC3`, (0, 0, 0) where none can be trusted; empty without calibrations
    SearchRange range{}; ///< what was searched
    double maxDepth = 0; ///< where points end, m; 0 without calibrations
    std::optional<DepthScale> scale; ///< of disparities of this size; none without calibrations
    Notes notes;                     ///< what happened on the way; see judge() for what the result says
};

/// Whether a pixel of the point image holds a point.
inline bool isTrusted(const cv::Vec3f& point)
{
    return point[2] > 0 && std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]);
}

/// The share of matched pixels and the depth of the trusted points.
struct DepthSummary
{
    double matchedPercent;
    /// Of the matched pixels: those without a point, as they are beyond the largest depth.
    double beyondPercent;
    std::size_t points; ///< trusted ones; the depths are 0 when there are none
    float median;       ///< m
    float nearest;
    float farthest;
};

VISION_TOOLKIT_EXPORT DepthSummary summarise(const PairDepth& depth);

/// "matched 63.1 %, depth median 0.42 m, 0.31 m to 4.87 m".
VISION_TOOLKIT_EXPORT std::string format(const DepthSummary& summary);

/// What the result of a pair says about the way it was computed, each with the way out:
/// - "range-ends-too-early": matches pile up at the largest disparity, so there are nearer things
/// - "range-starts-too-late": matches pile up at the smallest disparity, so there are farther things
/// - "few-matches": hardly any pixel is matched
/// - "beyond-largest-depth": much of what is matched is farther than the largest depth
VISION_TOOLKIT_EXPORT Notes judge(const PairDepth& depth, const DepthSummary& summary);

/// Computes the depth of pairs that the same cameras took. One object per thread.
///
/// For a sequence, one range holds for all pairs: findDisparityRange() of some of them, joined, goes to setDisparityRange().
class VISION_TOOLKIT_EXPORT DepthPipeline
{
public:
    /// @throws Failure naming the setting that cannot be used
    DepthPipeline(const Rig& rig, const DepthSettings& settings);

    /// Whether the range, or a part of it, must be found in the images.
    bool needsDisparityRange() const;

    /// Finds the disparities that occur in a raw pair.
    /// @return nothing when too little of it matches
    /// @throws Failure when the images do not fit the calibrations
    std::optional<DisparityRange> findDisparityRange(const ImagePair& pair) const;

    /// Sets what findDisparityRange() found, for all pairs that follow; without it compute() looks into each pair.
    void setDisparityRange(const std::optional<DisparityRange>& span) { _span = span; }

    /// Rectifies and matches a raw pair and computes its points.
    /// @param threads as match()
    /// @throws Failure telling what to change when the images do not fit the calibrations or the settings
    PairDepth compute(const ImagePair& pair, int threads = 1);

    /// Rectifies a raw pair as it is, with its channels and bit depth.
    /// @throws Failure when the images do not fit the calibrations
    RawPair rectify(const RawPair& pair) const;

    const Rig& rig() const { return _rig; }

private:
    ImagePair rectifyPair(const ImagePair& pair) const;
    RectifiedPair makePair(const ImagePair& rectified) const;
    SearchRange findRange(const RectifiedPair& pair, Notes& notes) const;
    void addPoints(PairDepth& depth);

    Rig _rig;
    DepthSettings _settings;
    std::optional<DisparityRange> _span;
    vision::Stereo _stereo;
};

} // namespace vision::toolkit

#endif
