// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/failure.h>

namespace vision::toolkit {

Failure::Failure(Note note) : std::runtime_error(toText(note)), _note(std::move(note)) {}

Failure::Failure(const std::string& code, const std::string& subject, const std::string& text)
    : Failure(Note(code, Severity::Wrong, text, subject))
{
}

} // namespace vision::toolkit
