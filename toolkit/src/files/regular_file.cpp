// SPDX-License-Identifier: Apache-2.0
#include "files/regular_file.h"

#include <vision/toolkit/failure.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace vision::toolkit {

std::uintmax_t requireRegular(const std::string& file)
{
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (!fs::exists(status)) {
        throw Failure("cannot-open", file, "cannot open the file: " + error.message() + "; check the name");
    }
    if (!fs::is_regular_file(status)) {
        throw Failure("not-a-file", file, "is a folder, a pipe or a device; name a file");
    }
    const std::uintmax_t size = fs::file_size(file, error);
    if (error) {
        throw Failure("cannot-open", file, "cannot open the file: " + error.message());
    }
    return size;
}

std::vector<unsigned char> readBeginning(const std::string& file, std::size_t mostBytes)
{
    const std::uintmax_t size = requireRegular(file);
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw Failure("cannot-open", file, std::string("cannot open the file: ") + std::strerror(errno));
    }
    std::vector<unsigned char> bytes(static_cast<std::size_t>(std::min<std::uintmax_t>(size, mostBytes)));
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!stream) {
        throw Failure("cannot-read", file, std::string("cannot read the file: ") + std::strerror(errno));
    }
    return bytes;
}

std::vector<unsigned char> readWhole(const std::string& file, std::size_t mostBytes)
{
    const std::uintmax_t size = requireRegular(file);
    if (size > mostBytes) {
        throw Failure(
            "file-too-large",
            file,
            fmt::format("has {} bytes, more than the {} that such a file may have; is it the right one?",
                        size,
                        mostBytes));
    }
    return readBeginning(file, mostBytes);
}

} // namespace vision::toolkit
