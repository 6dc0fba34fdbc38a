// SPDX-License-Identifier: Apache-2.0
/// @file
/// What a user should know although nothing failed.
#ifndef VISION_TOOLKIT_NOTE_H
#define VISION_TOOLKIT_NOTE_H

#include <string>
#include <vector>

namespace vision::toolkit {

/// A remark on an input or a result, with the way out if it names a problem.
struct Note
{
    std::string code; ///< stable, for programs: lower case with dashes, such as "rows-differ"
    std::string text; ///< one or two sentences for people, without a full stop at the end
};

using Notes = std::vector<Note>;

} // namespace vision::toolkit

#endif
