// SPDX-License-Identifier: Apache-2.0
/// @file
/// What became of one pair of a sequence.
/// The depth of all pairs of a sequence.
#ifndef VISION_TOOLKIT_SEQUENCE_DEPTH_RUN_H
#define VISION_TOOLKIT_SEQUENCE_DEPTH_RUN_H

#include <vision/toolkit/depth/depth_pipeline.h>
#include <vision/toolkit/depth/rig.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/features/row_offsets.h>
#include <vision/toolkit/files/output_files.h>
#include <vision/toolkit/input/images.h>
#include <vision/toolkit/input/pair_sequence.h>
#include <vision/toolkit/matching/search_range.h>
#include <vision/toolkit/note.h>
#include <vision/toolkit/output/pair_output.h>
#include <vision/toolkit/output/pictures.h>
#include <vision/toolkit/sequence/shard.h>

#include <opencv2/core/types.hpp>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vision::toolkit {

/// The result of a pair, or why there is none.
struct PairReport
{
    std::string name;          ///< what its files are called after
    PairNames images;          ///< what messages call them
    std::optional<Note> error; ///< why the pair could not be processed; then nothing below is set
    bool isSkipped = false;    ///< its results were there already; then nothing below is set
    cv::Size size;             ///< of the images as matched, px
    SearchRange range{};       ///< px of that size
    DepthSummary summary{};
    bool hasDepth = false; ///< otherwise there are disparities only
    RowOffsets rows{};
    Notes notes;
    std::vector<std::filesystem::path> files;
};

/// One line of JSON: an object with `name` and, if the pair was processed, `matched`, `beyond` (shares from 0
/// to 1), `nearest`, `median`, `farthest` (m, null without depth), `minDisparity`, `disparities`,
/// `rowOffsetMedian`, `rowOffsetSpread` (px, null when not known), `notes` (objects with `code`,
/// `severity` and `text`) and `files`; otherwise `error` and its `code`, or `skipped`.
VISION_TOOLKIT_EXPORT std::string toJson(const PairReport& report);

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
    bool skipExisting = false; ///< leaves out pairs whose files are all there, see OutputFolder::has()
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
