// SPDX-License-Identifier: Apache-2.0
/// @file
/// What was called otherwise in the version before. Old names are taken for one version, and a note tells the
/// new one; then this goes.
#ifndef TOOL_OPTIONS_OLD_NAMES_H
#define TOOL_OPTIONS_OLD_NAMES_H

#include "console/console.h"

#include <string>
#include <vector>

namespace tool {

/// The arguments of the program, the first of which is the command, with the names of options as they are
/// now.
std::vector<std::string> renewOptions(std::vector<std::string> arguments, Console& console);

/// The name of a parameter (an option without its dashes) of `depth` as it is now.
std::string renewParameter(const std::string& name, Console& console);

/// A list of products with their names as they are now.
std::string renewProducts(const std::string& list, Console& console);

} // namespace tool

#endif
