// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_FILES_TEXT_FILE_H
#define VISION_TOOLKIT_SRC_FILES_TEXT_FILE_H

#include <string>

namespace vision::toolkit {

/// The text of a file of at most 1 MiB; empty when it cannot be read.
std::string readText(const std::string& file);

} // namespace vision::toolkit

#endif
