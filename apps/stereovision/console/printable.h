// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_CONSOLE_PRINTABLE_H
#define TOOL_CONSOLE_PRINTABLE_H

#include <string>

namespace tool {

/// A text as a terminal can show it in one line: control characters, which names of files may hold, as \n,
/// \x1b and so on, and likewise every byte that is not part of a UTF-8 character.
std::string toPrintable(const std::string& text);

} // namespace tool

#endif
