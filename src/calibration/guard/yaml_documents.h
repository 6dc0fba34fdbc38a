/// Where the documents of a YAML file end.
#ifndef VISION_CALIBRATION_GUARD_YAML_DOCUMENTS_H
#define VISION_CALIBRATION_GUARD_YAML_DOCUMENTS_H

#include <string>

namespace vision::detail {

/// Behind a document the parser skips three symbols, whatever they are, and waits for "---". A dash that begins no
/// "---" it never gets past, and where the line is shorter it goes on in what an earlier line left in its buffer.
///
/// @throws std::invalid_argument when it comes to one of these, or its way cannot be followed
void requireYamlDocuments(const std::string& text);

} // namespace vision::detail

#endif
