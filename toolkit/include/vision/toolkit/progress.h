// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_PROGRESS_H
#define VISION_TOOLKIT_PROGRESS_H

#include <cstddef>
#include <functional>

namespace vision::toolkit {

/// Is told how many of all items are done; calls come one at a time, the first one with 0. What returns false
/// cancels the work, which then throws a Failure "cancelled". May be empty.
using Progress = std::function<bool(std::size_t done, std::size_t total)>;

} // namespace vision::toolkit

#endif
