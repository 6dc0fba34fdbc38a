// SPDX-License-Identifier: Apache-2.0
#include "input/file_names.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/files/text_file.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <functional>
#include <glob.h>
#include <initializer_list>
#include <memory>
#include <sstream>

namespace vision::toolkit {

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

bool hasExtension(const fs::path& file, std::initializer_list<const char*> extensions)
{
    std::string extension = file.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](unsigned char letter) {
        return static_cast<char>(std::tolower(letter));
    });
    return std::any_of(
        extensions.begin(), extensions.end(), [&extension](const char* known) { return extension == known; });
}

bool isImage(const fs::path& file)
{
    return hasExtension(file,
                        {".png",
                         ".jpg",
                         ".jpeg",
                         ".bmp",
                         ".tif",
                         ".tiff",
                         ".pgm",
                         ".ppm",
                         ".pnm",
                         ".webp",
                         ".jp2",
                         ".sr",
                         ".ras",
                         ".dib",
                         ".jpe"});
}

/// Keeps the order in which people number: 9 before 10.
void sortNaturally(Names& names)
{
    std::sort(names.begin(), names.end(), [](const std::string& left, const std::string& right) {
        return strverscmp(left.c_str(), right.c_str()) < 0;
    });
}

/// The files of a folder that are wanted; none when it cannot be read.
Names listFolder(const fs::path& folder, const std::function<bool(const fs::path&)>& isWanted)
{
    Names names;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        if (isWanted(entry->path()) && entry->is_regular_file(ignored)) {
            names.push_back(entry->path().string());
        }
    }
    if (error) {
        throw Failure("folder-unreadable", folder.string(), "cannot read the folder: " + error.message());
    }
    sortNaturally(names);
    return names;
}

Names expandFolder(const std::string& folder)
{
    Names names = listFolder(folder, isImage);
    if (names.empty()) {
        throw Failure("no-image",
                      folder,
                      "no image in this folder; name one that holds images, or the images themselves");
    }
    return names;
}

Names expandGlob(const std::string& pattern)
{
    glob_t found{};
    const std::unique_ptr<glob_t, decltype(&globfree)> owner(&found, &globfree);
    Names names;
    if (glob(pattern.c_str(), GLOB_NOSORT, nullptr, &found) == 0) {
        names.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    }
    if (names.empty()) {
        throw Failure("no-match", pattern, "no file matches this pattern; check the folder and the spelling");
    }
    sortNaturally(names);
    return names;
}

/// Where a number stands in a name: "%d" or "%04d".
struct NumberMark
{
    std::size_t begin = std::string::npos;
    std::size_t end = 0;
};

NumberMark findNumberMark(const std::string& name)
{
    for (std::size_t begin = name.find('%'); begin != std::string::npos; begin = name.find('%', begin + 1)) {
        const std::size_t letter = name.find_first_not_of("0123456789", begin + 1);
        if (letter != std::string::npos && name[letter] == 'd') {
            return {begin, letter + 1};
        }
    }
    return {};
}

bool isDigits(const std::string& text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

Names expandNumbers(const std::string& pattern)
{
    const fs::path path(pattern);
    const std::string name = path.filename().string();
    const NumberMark mark = findNumberMark(name);
    const std::string head = name.substr(0, mark.begin);
    const std::string tail = name.substr(mark.end);
    const auto matches = [&](const fs::path& file) {
        const std::string found = file.filename().string();
        return found.size() > head.size() + tail.size() && found.compare(0, head.size(), head) == 0 &&
               found.compare(found.size() - tail.size(), tail.size(), tail) == 0 &&
               isDigits(found.substr(head.size(), found.size() - head.size() - tail.size()));
    };
    Names names = listFolder(path.has_parent_path() ? path.parent_path() : fs::path("."), matches);
    if (names.empty()) {
        throw Failure("no-match",
                      pattern,
                      "no file has this name with a number for " +
                          name.substr(mark.begin, mark.end - mark.begin) +
                          "; check the folder and the spelling");
    }
    return names;
}

Names expandList(const std::string& file)
{
    constexpr std::size_t mostBytes = 64 << 20; // half a million names
    std::istringstream stream(readTextFile(file, mostBytes));
    Names names;
    for (std::string line; std::getline(stream, line);) {
        const std::size_t last = line.find_last_not_of(" \t\r");
        if (last != std::string::npos && line.front() != '#') {
            names.push_back((fs::path(file).parent_path() / line.substr(0, last + 1)).string());
        }
    }
    if (names.empty()) {
        throw Failure("list-empty", file, "no name in this list; give the name of an image in each line");
    }
    return names;
}

Names expand(const std::string& given)
{
    std::error_code ignored;
    const fs::file_status status = fs::status(given, ignored);
    if (fs::is_directory(status)) {
        return expandFolder(given);
    }
    if (fs::exists(status)) {
        return hasExtension(given, {".txt", ".lst"}) ? expandList(given) : Names{given};
    }
    if (findNumberMark(fs::path(given).filename().string()).begin != std::string::npos) {
        return expandNumbers(given);
    }
    return given.find_first_of("*?[") != std::string::npos ? expandGlob(given) : Names{given};
}

} // namespace

std::vector<std::string> expandNames(const std::vector<std::string>& given)
{
    Names names;
    for (const std::string& name : given) {
        if (name.empty()) {
            throw Failure("name-empty", "", "one of the names of images is empty; name an image");
        }
        const Names found = expand(name);
        names.insert(names.end(), found.begin(), found.end());
    }
    return names;
}

bool isVideo(const std::string& file)
{
    return hasExtension(file,
                        {".mp4",
                         ".avi",
                         ".mkv",
                         ".mov",
                         ".m4v",
                         ".mpg",
                         ".mpeg",
                         ".webm",
                         ".wmv",
                         ".ogv",
                         ".mjpg",
                         ".mjpeg",
                         ".ts",
                         ".flv",
                         ".3gp"});
}

} // namespace vision::toolkit
