// SPDX-License-Identifier: Apache-2.0
/// @file
/// The rectified images of all pairs of a sequence.
#ifndef VISION_TOOLKIT_SEQUENCE_RECTIFICATION_RUN_H
#define VISION_TOOLKIT_SEQUENCE_RECTIFICATION_RUN_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/files/output_files.h>
#include <vision/toolkit/input/pair_sequence.h>
#include <vision/toolkit/records/calibration_pair.h>
#include <vision/toolkit/sequence/shard.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace vision::toolkit {

/// How a sequence is rectified.
struct RectificationRun
{
    CalibrationPair calibrations;
    Shard shard;
    unsigned jobs = 1; ///< pairs that are processed at the same time
};

/// What a pair gave: files or an error.
struct RectificationReport
{
    std::vector<std::filesystem::path> files;
    std::optional<Note> error;
};

/// Rectifies the pairs of a shard and writes them, with their channels and bit depths, as Product::Rectified.
/// @param tell gets a report of each pair, in their order, one at a time
/// @throws Failure when two pairs would write the same files
VISION_TOOLKIT_EXPORT void runRectification(PairSequence& pairs, const RectificationRun& run,
                                            const OutputFolder& folder,
                                            const std::function<void(const RectificationReport&)>& tell);

} // namespace vision::toolkit

#endif
