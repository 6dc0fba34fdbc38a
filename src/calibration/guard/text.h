/// The text of a document as the parsers see it: lines that end at line feeds.
#ifndef VISION_CALIBRATION_GUARD_TEXT_H
#define VISION_CALIBRATION_GUARD_TEXT_H

#include <algorithm>
#include <cstring>
#include <string>

namespace vision::detail {

inline bool startsWith(const std::string& text, std::size_t position, const char* start)
{
    return text.compare(position, std::strlen(start), start) == 0;
}

/// The place of the line feed that ends the line, or the end of the text.
inline std::size_t findLineEnd(const std::string& text, std::size_t position)
{
    return std::min(text.find('\n', position), text.size());
}

} // namespace vision::detail

#endif
