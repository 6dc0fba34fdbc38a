// SPDX-License-Identifier: Apache-2.0
/// @file
/// What stands for images on a command line: files, folders, patterns, lists.
#ifndef VISION_TOOLKIT_SRC_INPUT_FILE_NAMES_H
#define VISION_TOOLKIT_SRC_INPUT_FILE_NAMES_H

#include <string>
#include <vector>

namespace vision::toolkit {

/// Replaces what stands for several images by their names; the names of images and videos stay as they are.
///
/// - A folder gives the images in it (by extension), a pattern with `*`, `?` or `[...]` the files that it
///   matches and one with a number (`left%04d.png`) the files that it matches for any number: all in natural
///   order, in which 9 precedes 10.
/// - A text file (`.txt`, `.lst`) gives the names in its lines, in their order; relative names start at its
///   folder. Empty lines and lines that begin with # are left out.
/// @throws Failure naming what gives no image
std::vector<std::string> expandNames(const std::vector<std::string>& given);

/// Whether a file is a video, by its extension.
bool isVideo(const std::string& file);

} // namespace vision::toolkit

#endif
