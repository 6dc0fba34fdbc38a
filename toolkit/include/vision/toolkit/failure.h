// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_FAILURE_H
#define VISION_TOOLKIT_FAILURE_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/note.h>

#include <stdexcept>
#include <string>

namespace vision::toolkit {

/// Something the caller can mend: what is wrong, with what, and what to do.
class VISION_TOOLKIT_EXPORT Failure : public std::runtime_error
{
public:
    /// @param code stable, for programs: lower case with dashes
    /// @param subject the file or parameter that is to be mended; empty when there is no single one
    /// @param text for people, without the subject and without a full stop at the end
    Failure(const std::string& code, const std::string& subject, const std::string& text);

    explicit Failure(Note note);

    /// The same as a note; its text follows the subject in what().
    [[nodiscard]] const Note& note() const noexcept { return _note; }

private:
    Note _note;
};

} // namespace vision::toolkit

#endif
