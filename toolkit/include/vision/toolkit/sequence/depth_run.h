// SPDX-License-Identifier: Apache-2.0
/// @file
/// The depth of all pairs of a sequence.
#ifndef VISION_TOOLKIT_SEQUENCE_DEPTH_RUN_H
#define VISION_TOOLKIT_SEQUENCE_DEPTH_RUN_H

#include <vision/toolkit/depth/depth_settings.h>
#include <vision/toolkit/depth/rig.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/input/pair_sequence.h>
#include <vision/toolkit/output/output_files.h>
#include <vision/toolkit/output/output_set.h>
#include <vision/toolkit/output/picture_scale.h>
#include <vision/toolkit/sequence/pair_report.h>
#include <vision/toolkit/sequence/run.h>

#include <cstddef>
#include <functional>
#include <optional>

namespace vision::toolkit {

/// How a sequence is processed.
struct DepthRun
{
    Rig rig;
    DepthSettings settings;
    double resize = 1; ///< images are scaled by this factor first
    OutputSet products;
    std::optional<ColourRange> colours; ///< disparities at the ends of the colours, px of the rig's size
    Shard shard;
    unsigned jobs = 1;         ///< pairs that are processed at the same time
    bool skipExisting = false; ///< leaves out pairs whose files are all there; otherwise they are made anew
};

/// Computes the depth of the pairs of a shard and writes the results.
///
/// What does not depend on one pair alone, the range and the colours, is found in at most nine pairs spread
/// evenly over the whole sequence: so files and reports depend neither on shards nor on jobs.
/// @param tell gets a report of each pair, in their order, one at a time; a pair that fails has its error in
/// it
/// @throws Failure when the settings cannot be used with the rig, or two pairs would write the same files
VISION_TOOLKIT_EXPORT void runDepth(PairSequence& pairs, const DepthRun& run, const OutputFolder& folder,
                                    const std::function<void(const PairReport&)>& tell);

} // namespace vision::toolkit

#endif
