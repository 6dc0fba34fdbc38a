// SPDX-License-Identifier: Apache-2.0
/// @file
/// What became of one pair of a sequence.
#ifndef VISION_TOOLKIT_SEQUENCE_PAIR_REPORT_H
#define VISION_TOOLKIT_SEQUENCE_PAIR_REPORT_H

#include <vision/toolkit/depth/summary.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/input/image_pair.h>
#include <vision/toolkit/matching/search_range.h>
#include <vision/toolkit/note.h>
#include <vision/toolkit/trust/row_offsets.h>

#include <opencv2/core/types.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace vision::toolkit {

/// The result of a pair, or why there is none.
struct PairReport
{
    std::string name;       ///< what its files are called after
    PairNames images;       ///< what messages call them
    std::string error;      ///< empty unless the pair could not be processed; then nothing below is set
    bool isSkipped = false; ///< its results were there already; then nothing below is set
    cv::Size size;          ///< of the images as matched, px
    SearchRange range{};    ///< px of that size
    DepthSummary summary{};
    bool hasDepth = false; ///< otherwise there are disparities only
    RowOffsets rows{};
    Notes notes;
    std::vector<std::filesystem::path> files;
};

/// One line of JSON: an object with `name` and, if the pair was processed, `matched`, `beyond` (shares from 0
/// to 1), `nearest`, `median`, `farthest` (m, null without depth), `minDisparity`, `disparities`,
/// `rowOffsetMedian`, `rowOffsetSpread` (px, null when not known), `notes` (objects with `code` and `text`)
/// and `files`; otherwise `error` or `skipped`.
VISION_TOOLKIT_EXPORT std::string toJson(const PairReport& report);

} // namespace vision::toolkit

#endif
