// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/note.h>

#include <vision/toolkit/failure.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <new>

namespace vision::toolkit {

const char* nameOf(Severity severity)
{
    switch (severity) {
    case Severity::Info:
        return "info";
    case Severity::Doubtful:
        return "doubtful";
    case Severity::Wrong:
        break;
    }
    return "wrong";
}

std::string toText(const Note& note)
{
    return note.subject.empty() ? note.text : note.subject + ": " + note.text;
}

Note about(const std::string& subject, Note note)
{
    if (note.subject.empty()) {
        note.subject = subject;
    }
    return note;
}

void append(Notes& notes, const Notes& more)
{
    for (const Note& note : more) {
        const auto isSame = [&note](const Note& told) {
            return told.code == note.code && told.subject == note.subject;
        };
        if (std::none_of(notes.begin(), notes.end(), isSame)) {
            notes.push_back(note);
        }
    }
}

Note describe(const std::exception& error)
{
    if (const auto* failure = dynamic_cast<const Failure*>(&error)) {
        return failure->note();
    }
    if (const auto* fromOpenCv = dynamic_cast<const cv::Exception*>(&error)) {
        return {"opencv", Severity::Wrong, "OpenCV: " + fromOpenCv->err + " (in " + fromOpenCv->func + ")"};
    }
    if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) {
        return {"out-of-memory", Severity::Wrong, "not enough memory"};
    }
    return {"unexpected", Severity::Wrong, error.what()};
}

} // namespace vision::toolkit
