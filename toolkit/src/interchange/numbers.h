// SPDX-License-Identifier: Apache-2.0
/// Numbers in text files, which are read in full or refused.
#ifndef VISION_TOOLKIT_SRC_INTERCHANGE_NUMBERS_H
#define VISION_TOOLKIT_SRC_INTERCHANGE_NUMBERS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vision::toolkit {

/// A finite decimal number and nothing else, whatever the locale.
std::optional<double> parseNumber(std::string_view text);

/// Numbers between blanks and nothing else.
/// @return nothing when something is no number
std::optional<std::vector<double>> parseNumbers(std::string_view text);

/// The length of an image's side.
/// @throws Failure naming file and key when it is no whole number from 1 to 32767
int toSide(double number, const std::string& file, const std::string& key);

} // namespace vision::toolkit

#endif
