// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_CONSOLE_START_H
#define TOOL_CONSOLE_START_H

namespace tool {

/// Takes the numbers of standard input, output and error if they are closed. Otherwise the next file that is
/// opened would get one, and our messages would land in it. To be called before anything opens a file.
void reserveStandardFiles();

/// Lets writing fail at the limit of the size of files, so that the error can be told, instead of being
/// killed.
void surviveFileSizeLimit();

} // namespace tool

#endif
