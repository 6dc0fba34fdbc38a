// SPDX-License-Identifier: Apache-2.0
/// What the readers of foreign calibrations have in common.
#ifndef VISION_TOOLKIT_SRC_INTERCHANGE_SOURCE_H
#define VISION_TOOLKIT_SRC_INTERCHANGE_SOURCE_H

#include "files/text_file.h"
#include "records/rectified_records.h"

#include <vision/toolkit/interchange/calibrations.h>

#include <opencv2/core/mat.hpp>
#include <yaml-cpp/yaml.h>

#include <string>
#include <vector>

namespace vision::toolkit {

/// @throws Failure naming the file when it is no YAML, or far longer than any calibration
YAML::Node parseYaml(const std::string& file);

/// The numbers under a key, in one list or in a list of rows, in a map also under `data`.
/// @throws Failure naming file and key when there is another number of them, or anything else
std::vector<double> takeNumbers(const YAML::Node& node, const std::string& file, const std::string& key,
                                std::size_t count);

/// The same, for at most so many numbers and at least one.
std::vector<double> takeUpTo(const YAML::Node& node, const std::string& file, const std::string& key,
                             std::size_t most);

/// Numbers as a matrix, row by row.
/// @param depth `CV_32F` for records, `CV_64F` to compute with
cv::Mat makeMatrix(const std::vector<double>& numbers, int rows, int depth = CV_32F);

/// Exchanges the cameras if the second one stands on the left.
/// @throws Failure naming the file when the pose is no rotation, a focal length not positive, or the cameras
///         stand above each other or in one place
CalibrationPair rectifyRig(RawRig rig, const std::string& file);

Calibration readCameraInfo(const std::string& file);
CalibrationPair readKalibr(const std::string& file);
CalibrationPair readOpenCvStereo(const std::vector<std::string>& files, const ForeignDetails& details);
CalibrationPair readMiddlebury(const std::string& file);
CalibrationPair readKitti(const std::string& file, const ForeignDetails& details);

} // namespace vision::toolkit

#endif
