// SPDX-License-Identifier: Apache-2.0
#include "files/staging.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/files/output_files.h>

#include <cerrno>
#include <cstring>

namespace vision::toolkit {

namespace fs = std::filesystem;

namespace {

/// The folders on the way to this one that do not exist yet, outermost first.
std::vector<fs::path> findMissing(const fs::path& folder)
{
    std::vector<fs::path> missing;
    std::error_code ignored;
    for (fs::path path = folder; !path.empty() && !fs::exists(path, ignored); path = path.parent_path()) {
        missing.insert(missing.begin(), path);
    }
    return missing;
}

Failure makeFailure(const fs::path& folder, const std::string& text)
{
    return {"folder-unusable", folder.string(), text + "; choose another one"};
}

} // namespace

OutputFolder::OutputFolder(const fs::path& folder, ExistingFile existing)
    : _path(folder), _existing(existing), _made(findMissing(folder))
{
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw makeFailure(folder, "cannot make the folder: " + error.message());
    }
    if (!fs::is_directory(folder, error)) {
        throw makeFailure(folder, "is not a folder");
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        throw makeFailure(folder, std::string("cannot write into the folder: ") + std::strerror(errno));
    }
    _notes = tidyUp(folder);
}

OutputFolder::~OutputFolder()
{
    for (auto made = _made.rbegin(); made != _made.rend(); ++made) {
        std::error_code ignored; // a folder that holds something stays
        fs::remove(*made, ignored);
    }
}

bool OutputFolder::has(const std::string& name) const
{
    std::error_code error;
    const fs::path file = _path / name;
    return fs::is_regular_file(file, error) && fs::file_size(file, error) > 0 && !error;
}

bool OutputFolder::mayReplace(const std::string& name) const
{
    return _existing == ExistingFile::Replace ||
           (_existing == ExistingFile::Keep && isEmptyFile(_path / name));
}

void OutputFolder::requireFree(const std::string& name) const
{
    const fs::path file = _path / name;
    std::error_code error;
    const fs::file_status status = fs::symlink_status(file, error);
    if (status.type() == fs::file_type::not_found) {
        return;
    }
    if (!fs::status_known(status)) {
        throw Failure("name-unusable", file.string(), "no file can be written there: " + error.message());
    }
    if (_existing == ExistingFile::Refuse) {
        throw Failure("file-exists", file.string(), "exists already");
    }
    if (!fs::is_regular_file(status) && !keeps(name)) {
        throw Failure(
            "not-a-file",
            file.string(),
            "is a folder, a link or a device, which is not overwritten; remove it or choose another "
            "name");
    }
}

} // namespace vision::toolkit
