// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_INPUT_VIDEO_CONTAINER_H
#define VISION_TOOLKIT_SRC_INPUT_VIDEO_CONTAINER_H

#include <string>

namespace vision::toolkit {

/// Tests by its first bytes whether a file is a video that holds its frames itself. A list of other files to
/// open, or of addresses, is none, whatever it is called.
/// @return whether it counts its frames; otherwise it states how long it takes, at most
/// @throws Failure when it cannot be read or is none
bool requireContainer(const std::string& file);

} // namespace vision::toolkit

#endif
