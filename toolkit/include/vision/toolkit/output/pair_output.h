// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_OUTPUT_PAIR_OUTPUT_H
#define VISION_TOOLKIT_OUTPUT_PAIR_OUTPUT_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/note.h>
#include <vision/toolkit/output/output_files.h>
#include <vision/toolkit/output/output_set.h>
#include <vision/toolkit/output/picture_scale.h>

#include <opencv2/core/mat.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace vision::toolkit {

/// What was computed of a pair. What the output set does not ask for may be empty.
struct PairResults
{
    std::string name;       ///< what the files are called after
    cv::Mat left;           ///< rectified, as it is shown: `CV_8UC1` or `CV_8UC3`
    cv::Mat right;          ///< of the same size; may differ in type
    cv::Mat rectifiedLeft;  ///< rectified, with the channels and the bit depth of its file
    cv::Mat rectifiedRight; ///< of the same size; may differ in type
    cv::Mat disparity;      ///< `CV_32FC1`, px; +infinity where nothing was matched
    cv::Mat unsearched;     ///< `CV_8UC1`, not 0 where the matcher cannot search; empty when not known
    cv::Mat levels;         ///< `CV_8UC1` as for drawLevels(); empty when all was matched at full size
    cv::Mat points;         ///< `CV_32FC3`, m, (0, 0, 0) where none can be trusted; empty without depths
};

struct PairOutput
{
    std::vector<std::filesystem::path> files;
    Notes notes; ///< what did not fit into a format: "disparity-out-of-range", "depth-out-of-range"
};

/// Encodes and writes the chosen results of a pair.
///
/// Several threads may write into one folder at the same time, each a pair of another name.
/// @throws Failure when something is chosen that the results lack, or one cannot be written; then there is no
///         file
VISION_TOOLKIT_EXPORT PairOutput writePairOutput(const PairResults& results, const PictureScale& scale,
                                                 const OutputSet& set, const OutputFolder& folder);

} // namespace vision::toolkit

#endif
