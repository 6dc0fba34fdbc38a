#ifndef TOOL_DEPTH_DEPTH_FILES_H
#define TOOL_DEPTH_DEPTH_FILES_H

#include "depth/pair_depth.h"
#include "io/output_files.h"

#include <vision/stereo.h>

#include <filesystem>
#include <string>
#include <vector>

namespace tool {

/// The file names of the results of one pair: NAME-rectified.png, NAME-disparity.png, NAME-disparity.pfm and
/// NAME-points.ply.
struct DepthFileNames
{
    explicit DepthFileNames(const std::string& name);

    std::string rectified;
    std::string picture;
    std::string disparity;
    std::string points;
};

/// Tests before the work whether the results may be written after it.
/// @throws Failure as OutputFolder::requireFree
void requireFree(const DepthFileNames& names, const OutputFolder& folder);

/// Writes the results of one pair.
/// @param stereo what computed them
/// @throws Failure when one cannot be written; then there is none
/// @return the files
std::vector<std::filesystem::path> writeDepthFiles(const PairDepth& depth, const vision::Stereo& stereo,
                                                   const DepthFileNames& names, const OutputFolder& folder);

} // namespace tool

#endif
