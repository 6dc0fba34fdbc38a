// SPDX-License-Identifier: Apache-2.0
/// What all reports in JSON have in common.
#ifndef VISION_TOOLKIT_SRC_BASE_JSON_H
#define VISION_TOOLKIT_SRC_BASE_JSON_H

#include <vision/toolkit/note.h>

#include <nlohmann/json.hpp>

#include <cmath>
#include <string>

namespace vision::toolkit {

using Json = nlohmann::ordered_json;

/// JSON has no NaN.
inline Json numberOrNull(double value, bool isKnown = true)
{
    return isKnown && std::isfinite(value) ? Json(value) : Json(nullptr);
}

inline Json listNotes(const Notes& notes)
{
    Json list = Json::array();
    for (const Note& note : notes) {
        list.push_back({{"code", note.code}, {"severity", nameOf(note.severity)}, {"text", toText(note)}});
    }
    return list;
}

/// One line; a file name need not be UTF-8.
inline std::string printLine(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace vision::toolkit

#endif
