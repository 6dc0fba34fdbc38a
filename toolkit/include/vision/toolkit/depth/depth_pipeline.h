// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_DEPTH_DEPTH_PIPELINE_H
#define VISION_TOOLKIT_DEPTH_DEPTH_PIPELINE_H

#include <vision/stereo.h>
#include <vision/toolkit/depth/depth_settings.h>
#include <vision/toolkit/depth/pair_depth.h>
#include <vision/toolkit/depth/rig.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/matching/matcher.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace vision::toolkit {

/// The pairs whose images tell the range of a sequence.
constexpr std::size_t mostRangeSamples = 9;

/// The places of at most so many pairs, spread evenly over the whole sequence.
VISION_TOOLKIT_EXPORT std::vector<std::size_t> sampleEvenly(std::size_t pairs,
                                                            std::size_t most = mostRangeSamples);

/// Computes the depth of pairs that the same cameras took. One object per thread.
///
/// For a sequence, one range holds for all pairs: findSpan() of some of them, joined, goes to setSpan().
class VISION_TOOLKIT_EXPORT DepthPipeline
{
public:
    /// @throws Failure naming the setting that cannot be used
    DepthPipeline(const Rig& rig, const DepthSettings& settings);

    /// Whether the range, or a part of it, must be found in the images.
    bool needsSpan() const;

    /// Finds the disparities that occur in a raw pair.
    /// @return nothing when too little of it matches
    /// @throws Failure when the images do not fit the calibrations
    std::optional<DisparitySpan> findSpan(const ImagePair& pair) const;

    /// Sets what findSpan() found, for all pairs that follow; without it compute() looks into each pair.
    void setSpan(const std::optional<DisparitySpan>& span) { _span = span; }

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
    std::optional<DisparitySpan> _span;
    vision::Stereo _stereo;
};

} // namespace vision::toolkit

#endif
