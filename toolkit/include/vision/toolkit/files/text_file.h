// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_FILES_TEXT_FILE_H
#define VISION_TOOLKIT_FILES_TEXT_FILE_H

#include <vision/toolkit/export.h>

#include <cstddef>
#include <string>

namespace vision::toolkit {

/// What no calibration or parameter file exceeds, in bytes.
inline constexpr std::size_t usualTextLimit = std::size_t{1} << 20;

/// Reads a whole text file. Pipes and devices, which may never end, are refused as is a file that is too
/// large: half a text may well mean something else than the whole.
/// @throws Failure naming the file: "cannot-open", "not-a-file", "file-too-large" or "cannot-read"
VISION_TOOLKIT_EXPORT std::string readTextFile(const std::string& file,
                                               std::size_t mostBytes = usualTextLimit);

} // namespace vision::toolkit

#endif
