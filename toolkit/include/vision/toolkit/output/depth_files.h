#ifndef VISION_TOOLKIT_OUTPUT_DEPTH_FILES_H
#define VISION_TOOLKIT_OUTPUT_DEPTH_FILES_H

#include <vision/stereo.h>
#include <vision/toolkit/depth/pair_depth.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/output/output_files.h>

#include <filesystem>
#include <string>
#include <vector>

namespace vision::toolkit {

/// The file names of the results of one pair: NAME-rectified.png, NAME-disparity.png, NAME-disparity.pfm and
/// NAME-points.ply.
struct VISION_TOOLKIT_EXPORT DepthFileNames
{
    explicit DepthFileNames(const std::string& name);

    std::string rectified;
    std::string picture;
    std::string disparity;
    std::string points;
};

/// Tests before the work whether the results may be written after it.
/// @throws Failure as OutputFolder::requireFree
VISION_TOOLKIT_EXPORT void requireFree(const DepthFileNames& names, const OutputFolder& folder);

/// Writes the results of one pair.
/// @param stereo what computed them
/// @throws Failure when one cannot be written; then there is none
/// @return the files
VISION_TOOLKIT_EXPORT std::vector<std::filesystem::path> writeDepthFiles(const PairDepth& depth,
                                                                         const vision::Stereo& stereo,
                                                                         const DepthFileNames& names,
                                                                         const OutputFolder& folder);

} // namespace vision::toolkit

#endif
