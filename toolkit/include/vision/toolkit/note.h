// SPDX-License-Identifier: Apache-2.0
/// @file
/// What a caller should know about an input or a result.
#ifndef VISION_TOOLKIT_NOTE_H
#define VISION_TOOLKIT_NOTE_H

#include <vision/toolkit/export.h>

#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace vision::toolkit {

/// What a note means for the result that it belongs to.
enum class Severity
{
    Info,     ///< it is as good as without
    Doubtful, ///< it may be wrong, or leaves out something that is there
    Wrong,    ///< it is not to be used, or there is none
};

/// "info", "doubtful" or "wrong".
VISION_TOOLKIT_EXPORT const char* nameOf(Severity severity);

/// A remark on an input or a result.
struct Note
{
    Note() = default;
    Note(std::string theCode, std::string theText) : code(std::move(theCode)), text(std::move(theText)) {}
    Note(std::string theCode, Severity theSeverity, std::string theText, std::string theSubject = {})
        : code(std::move(theCode)), severity(theSeverity), subject(std::move(theSubject)),
          text(std::move(theText))
    {
    }

    std::string code; ///< stable, for programs: lower case with dashes, such as "rows-differ"
    Severity severity = Severity::Doubtful;
    std::string subject; ///< the file, the parameter or the image that it is about; empty for all of them
    std::string text;    ///< one or two sentences for people, without a full stop at the end
};

using Notes = std::vector<Note>;

/// One line for people: the subject, if there is one, a colon and the text.
VISION_TOOLKIT_EXPORT std::string toText(const Note& note);

/// The same about something else, if it has no subject of its own.
VISION_TOOLKIT_EXPORT Note about(const std::string& subject, Note note);

/// Adds those of a code and subject that are not there yet.
VISION_TOOLKIT_EXPORT void append(Notes& notes, const Notes& more);

/// What an error says: that of a Failure is its own; OpenCV's texts ("opencv") are cut down to what went
/// wrong; "out-of-memory"; "unexpected" for anything else. All are Wrong.
VISION_TOOLKIT_EXPORT Note describe(const std::exception& error);

} // namespace vision::toolkit

#endif
