// SPDX-License-Identifier: Apache-2.0
#include "files/text_file.h"

#include "files/regular_file.h"

namespace vision::toolkit {

std::string readTextFile(const std::string& file, std::size_t mostBytes)
{
    const auto bytes = readWhole(file, mostBytes);
    return {bytes.begin(), bytes.end()};
}

} // namespace vision::toolkit
