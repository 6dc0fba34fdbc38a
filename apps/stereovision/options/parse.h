#ifndef TOOL_CONSOLE_PARSE_H
#define TOOL_CONSOLE_PARSE_H

#include <opencv2/core/types.hpp>

#include <string>

namespace tool {

/// Whether a length must say its unit or is in metres without one.
enum class Unit
{
    Required,
    MetresByDefault,
};

/// Parses a positive length such as "25mm", "2.5 cm" or "0.025m".
/// @return metres
/// @throws Failure naming the option when the text is none
double parseLength(const std::string& option, const std::string& text, Unit unit);

/// Parses the inner corners of a chessboard, such as "9x6".
/// @throws Failure naming the option when the text is none
cv::Size parseBoard(const std::string& option, const std::string& text);

} // namespace tool

#endif
