/// How deeply a document nests.
#ifndef VISION_CALIBRATION_GUARD_NESTING_H
#define VISION_CALIBRATION_GUARD_NESTING_H

#include <string>

namespace vision::detail {

/// The parsers recurse into every level, with up to a kilobyte of stack each. A calibration has four levels; a
/// thousand levels of brackets or tags, and in YAML a thousand of indentation around them, take two megabytes.
///
/// Where a level ends depends on quotes, comments, escapes and keys, which every version of every parser takes in
/// its own way. So the end of a level counts only where nothing doubtful precedes it; every other level is taken
/// as still open, which bounds the depth from above.
///
/// @throws std::invalid_argument when there may be more levels
void requireYamlDepth(const std::string& text);
void requireJsonDepth(const std::string& text);
void requireXmlDepth(const std::string& text);

} // namespace vision::detail

#endif
