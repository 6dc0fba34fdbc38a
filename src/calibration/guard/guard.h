/// What OpenCV's file storage would crash on, never finish or exhaust the memory with is refused beforehand.
///
/// Everything else is left alone: what OpenCV reads is read, and what it refuses it refuses itself.
#ifndef VISION_CALIBRATION_GUARD_GUARD_H
#define VISION_CALIBRATION_GUARD_GUARD_H

#include <opencv2/core/persistence.hpp>

#include <string>

namespace vision::detail {

/// Looks at the file that cv::FileStorage would open under that name. A file that changes between this look
/// and the reading is not guarded against.
/// @throws std::invalid_argument when it is no regular file, or its document is too large or nested too
///         deeply, holds base64 data or a NUL byte, or has one of the shapes that the parsers cannot take
void requireSafeDocument(const std::string& filename);

/// Looks at the node of a matrix before cv::read does.
/// @param key its name, for the message
/// @throws std::invalid_argument when its element type or its size is out of all bounds
void requireSafeMatrix(const char* key, const cv::FileNode& node);

} // namespace vision::detail

#endif
