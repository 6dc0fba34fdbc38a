/// The shapes of documents that OpenCV's three parsers cannot take.
#ifndef VISION_CALIBRATION_DOCUMENT_SYNTAX_H
#define VISION_CALIBRATION_DOCUMENT_SYNTAX_H

#include <string>

namespace vision::detail {

enum class DocumentFormat
{
    Unknown,
    Yaml,
    Xml,
    Json,
};

/// Walks through a text without NUL bytes as OpenCV's parser of that format would.
/// @throws std::invalid_argument when that parser would overflow the stack, loop for ever, read through null
///         or past a line, or decode base64 data; the text lacks the full stop
void requireSafeSyntax(DocumentFormat format, const std::string& text);

} // namespace vision::detail

#endif
