#ifndef TOOL_IO_IMAGE_FILE_H
#define TOOL_IO_IMAGE_FILE_H

#include <opencv2/core/mat.hpp>

#include <string>

namespace tool {

/// Reads an image with the depth and channels that its file has. A tag that asks viewers to turn the image
/// is ignored: a calibration holds for the pixels as the camera gave them.
/// @throws Failure naming the file when it is missing, no file, empty, cut off or not a readable image
cv::Mat readImage(const std::string& file);

} // namespace tool

#endif
