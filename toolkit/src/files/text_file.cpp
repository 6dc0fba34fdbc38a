// SPDX-License-Identifier: Apache-2.0
#include "files/text_file.h"

#include <fstream>

namespace vision::toolkit {

std::string readText(const std::string& file)
{
    constexpr std::streamsize most = 1 << 20;
    std::ifstream stream(file, std::ios::binary);
    std::string text(static_cast<std::size_t>(most), '\0');
    stream.read(text.data(), most);
    text.resize(static_cast<std::size_t>(stream.gcount()));
    return text;
}

} // namespace vision::toolkit
