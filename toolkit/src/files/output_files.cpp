// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/files/output_files.h>

#include "files/staging.h"

#include <vision/toolkit/failure.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace vision::toolkit {

namespace fs = std::filesystem;

namespace {

/// @param error as in errno
Failure makeFailure(const fs::path& file, int error)
{
    return {"write-failed",
            file.string(),
            std::string("cannot write the file: ") + std::strerror(error) +
                "; free space or choose another folder"};
}

} // namespace

/// Moves files to their names and back.
class OutputFiles::Staging : public StagingFolder
{
public:
    using StagingFolder::StagingFolder;

    /// @return false with errno
    bool place(const std::string& name, const OutputFolder& folder) const
    {
        const fs::path final = folder.path() / name;
        if (!folder.mayReplace(name)) {
            return renameNew(file(name), final);
        }
        copyOwnership(final, file(name));
        return putAside(name, final) && rename(file(name).c_str(), final.c_str()) == 0;
    }

    /// Undoes place(), also where it failed.
    void bringBack(const std::string& name, const OutputFolder& folder)
    {
        const fs::path final = folder.path() / name;
        if (rename(previous(name).c_str(), final.c_str()) == 0) {
            return;
        }
        struct stat waiting = {};
        if (errno != ENOENT && errno != ENOTDIR) {
            abandon(); // rather than lose what was there
        } else if (lstat(file(name).c_str(), &waiting) != 0) {
            unlink(final.c_str());
        }
    }

private:
    /// Keeps what has the name, if there is something, under a second one.
    bool putAside(const std::string& name, const fs::path& final) const
    {
        struct stat old = {};
        if (lstat(final.c_str(), &old) != 0) {
            return errno == ENOENT;
        }
        if (!S_ISREG(old.st_mode)) {
            errno = EEXIST;
            return false;
        }
        makePrevious();
        // Where the file system has no links the name is free for a moment; nothing is ever copied.
        return link(final.c_str(), previous(name).c_str()) == 0 ||
               rename(final.c_str(), previous(name).c_str()) == 0;
    }
};

OutputFiles::OutputFiles(const OutputFolder& folder) : _folder(folder) {}

OutputFiles::~OutputFiles() = default;

fs::path OutputFiles::stage(const std::string& name)
{
    _folder.requireFree(name);
    if (!_staging) {
        _staging = std::make_unique<Staging>(_folder.path());
    }
    _names.push_back(name);
    return _staging->file(name);
}

void OutputFiles::write(const std::string& name, const Bytes& bytes)
{
    write(name, bytes.data(), bytes.size());
}

void OutputFiles::write(const std::string& name, const std::string& text)
{
    write(name, text.data(), text.size());
}

void OutputFiles::write(const std::string& name, const void* bytes, std::size_t count)
{
    if (!writeNew(stage(name), bytes, count)) {
        throw makeFailure(_folder.path() / name, errno);
    }
}

std::vector<fs::path> OutputFiles::commit()
{
    if (!_staging) {
        return {};
    }
    for (const std::string& name : _names) {
        if (!flush(_staging->file(name))) {
            throw makeFailure(_folder.path() / name, errno);
        }
    }
    if (!_staging->finish(_folder.existing() == ExistingFile::Replace)) {
        throw makeFailure(_folder.path(), errno);
    }
    std::vector<fs::path> written;
    for (const std::string& name : _names) {
        written.push_back(_folder.path() / name);
        if (!_staging->place(name, _folder)) {
            const int error = errno;
            _staging->giveUp();
            for (std::size_t i = 0; i < written.size(); ++i) {
                _staging->bringBack(_names[i], _folder);
            }
            throw makeFailure(written.back(), error);
        }
    }
    flush(_folder.path());
    _staging.reset();
    _names.clear();
    return written;
}

} // namespace vision::toolkit
