// SPDX-License-Identifier: Apache-2.0
#ifndef STEREOVISION_CONSOLE_WAYS_OUT_H
#define STEREOVISION_CONSOLE_WAYS_OUT_H

#include <string>

namespace tool {

/// What the user of this program can do about a note of the library: "; " and the option or command, or
/// nothing.
std::string wayOut(const std::string& code);

} // namespace tool

#endif
