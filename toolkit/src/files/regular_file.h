// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_FILES_REGULAR_FILE_H
#define VISION_TOOLKIT_SRC_FILES_REGULAR_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vision::toolkit {

/// Tests whether a name is that of a file that ends somewhere.
/// @return its size in bytes
/// @throws Failure "cannot-open" or "not-a-file"
std::uintmax_t requireRegular(const std::string& file);

/// Reads a file from its beginning.
/// @param mostBytes where reading ends, if the file does not end before
/// @throws Failure as requireRegular(), or "cannot-read"
std::vector<unsigned char> readBeginning(const std::string& file, std::size_t mostBytes);

/// Reads a file that has at most so many bytes.
/// @throws Failure as readBeginning(), or "file-too-large"
std::vector<unsigned char> readWhole(const std::string& file, std::size_t mostBytes);

} // namespace vision::toolkit

#endif
