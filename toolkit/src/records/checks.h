// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_RECORDS_CHECKS_H
#define VISION_TOOLKIT_SRC_RECORDS_CHECKS_H

#include <vision/toolkit/failure.h>

#include <string>

namespace vision::toolkit {

/// @throws Failure with the first fault, if there is one
inline void requireNone(const Notes& faults, const std::string& subject)
{
    if (!faults.empty()) {
        throw Failure(about(subject, faults.front()));
    }
}

} // namespace vision::toolkit

#endif
