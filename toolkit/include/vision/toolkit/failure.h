// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_FAILURE_H
#define VISION_TOOLKIT_FAILURE_H

#include <vision/toolkit/export.h>

#include <exception>
#include <stdexcept>
#include <string>

namespace vision::toolkit {

/// Something the user can mend. The text names the file or option, says what is wrong and what to do.
class VISION_TOOLKIT_EXPORT Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// One line for the user: OpenCV's own texts are cut down to what went wrong.
VISION_TOOLKIT_EXPORT std::string describe(const std::exception& error);

} // namespace vision::toolkit

#endif
