// SPDX-License-Identifier: Apache-2.0
/// What OpenCV's file storage would crash on, never finish or exhaust the memory with is refused beforehand.
/// Everything else is left alone: what OpenCV reads is read, and what it refuses it refuses itself.
#ifndef VISION_DOCUMENT_GUARD_H
#define VISION_DOCUMENT_GUARD_H

#include <opencv2/core/persistence.hpp>

#include <string>

namespace vision::guard {

/// Looks at the file that cv::FileStorage would open under that name; it must not change until it is read.
/// @throws std::invalid_argument when it is no regular file, or its document is refused
/// @throws cv::Exception when it is a folder
void requireSafeDocument(const std::string& filename);

/// Looks at the node of a matrix before cv::read or `>>` does.
/// @throws std::invalid_argument when its element type or its size is out of all bounds
void requireSafeMatrix(const std::string& key, const cv::FileNode& node);

} // namespace vision::guard

#endif
