// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_FILES_TEXT_FILE_H
#define VISION_TOOLKIT_SRC_FILES_TEXT_FILE_H

#include <vision/toolkit/files/text_file.h>

namespace vision::toolkit {

/// The text of a calibration file.
/// @throws Failure as readTextFile()
inline std::string readText(const std::string& file)
{
    return readTextFile(file);
}

} // namespace vision::toolkit

#endif
