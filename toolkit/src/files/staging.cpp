// SPDX-License-Identifier: Apache-2.0
#include "files/staging.h"

#include <vision/toolkit/failure.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <random>
#include <sys/file.h>
#include <sys/stat.h>

namespace vision::toolkit {

namespace fs = std::filesystem;

namespace {

constexpr const char* unfinished = ".unfinished-";
constexpr const char* finishing = ".finishing-";
constexpr const char* replacing = ".replacing-";
constexpr const char* previously = ".previous-";

std::string makeId()
{
    std::random_device random;
    return fmt::format("{:08x}{:08x}", random(), random());
}

/// Whether the folder that was opened still has that name.
bool isStill(const fs::path& path, const Descriptor& folder)
{
    struct stat named = {};
    struct stat opened = {};
    return lstat(path.c_str(), &named) == 0 && fstat(folder.number(), &opened) == 0 &&
           named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

/// The ID in the name of a left-over; empty for any other name, which the user may have given.
std::string findId(const std::string& name, const std::string& prefix)
{
    constexpr std::size_t digits = 16;
    const bool isOurs = name.size() == prefix.size() + digits &&
                        name.compare(0, prefix.size(), prefix) == 0 &&
                        name.find_first_not_of("0123456789abcdef", prefix.size()) == std::string::npos;
    return isOurs ? name.substr(prefix.size()) : "";
}

/// @return false when a file cannot get its name, or must not
bool moveOut(const fs::path& folder, const fs::path& results, bool mayReplace)
{
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        const fs::path name = results / entry.path().filename();
        if (!mayReplace && !isEmptyFile(name)) {
            if (!renameNew(entry.path(), name)) {
                return false;
            }
        } else if (rename(entry.path().c_str(), name.c_str()) != 0) {
            return false;
        }
    }
    return !error;
}

/// A folder that a run has left.
class LeftOver
{
public:
    LeftOver(const fs::path& results, std::string prefix, const std::string& id)
        : _results(results), _prefix(std::move(prefix)), _path(results / (_prefix + id)),
          _previous(results / (previously + id))
    {
    }

    /// @return a note, if the user should know
    Notes settle()
    {
        const Descriptor folder = openFolder(_path);
        if (!folder.isOpen() && errno == ENOENT) {
            return {}; // the run was not over, but is now
        }
        struct stat status = {};
        if (!folder.isOpen() || fstat(folder.number(), &status) != 0 || status.st_uid != geteuid()) {
            return tell(Severity::Doubtful, "was left by a run of another user; remove it if that is over");
        }
        if (flock(folder.number(), LOCK_EX | LOCK_NB) != 0) {
            const bool isInUse = errno == EWOULDBLOCK;
            return isInUse
                       ? Notes{}
                       : tell(Severity::Doubtful,
                              "was left by a run that was killed, unless one still goes on, which this file "
                              "system cannot tell; remove it when none does");
        }
        return isStill(_path, folder) ? finish() : Notes{};
    }

private:
    Notes finish() const
    {
        std::error_code error;
        if (_prefix == unfinished) {
            if (fs::exists(_previous, error) && !moveOut(_previous, _results, true)) {
                return tell(
                    Severity::Doubtful,
                    "was left by a run that was killed, and the files that it was replacing cannot get "
                    "their names back: they are in the folder .previous of the same number");
            }
            fs::remove_all(_previous, error);
            fs::remove_all(_path, error);
            return error ? tell(Severity::Doubtful, "was left by a run that was killed; remove it")
                         : tell(Severity::Info, "was left by a run that was killed, and is removed");
        }
        if (!moveOut(_path, _results, _prefix == replacing)) {
            return tell(Severity::Doubtful,
                        "holds results that a run had finished when it was killed, and that cannot get their "
                        "names: move them to where they belong, or remove them");
        }
        fs::remove_all(_previous, error);
        fs::remove_all(_path, error);
        return tell(Severity::Info, "held results of a run that was killed; they have their names now");
    }

    Notes tell(Severity severity, const char* text) const
    {
        return {Note("left-over", severity, text, _path.string())};
    }

    const fs::path& _results;
    std::string _prefix;
    fs::path _path;
    fs::path _previous;
};

} // namespace

StagingFolder::StagingFolder(const fs::path& results) : _results(results)
{
    // Another process may take the new folder for a left-over before it is locked, or remove the folder of
    // results that it made itself.
    for (int attempt = 0; attempt < 100; ++attempt) {
        _id = makeId();
        _path = results / (unfinished + _id);
        _previous = results / (previously + _id);
        constexpr mode_t mode = 0700;
        if (mkdir(_path.c_str(), mode) != 0) {
            if (errno != EEXIST && errno != ENOENT) {
                break;
            }
            std::error_code ignored;
            fs::create_directories(results, ignored);
            continue;
        }
        _lock = openFolder(_path);
        const bool isFree = flock(_lock.number(), LOCK_SH | LOCK_NB) == 0 || errno != EWOULDBLOCK;
        if (_lock.isOpen() && isFree && isStill(_path, _lock)) {
            return;
        }
    }
    throw Failure("write-failed",
                  results.string(),
                  fmt::format("cannot write into the folder: {}; free space or choose another one",
                              std::strerror(errno)));
}

StagingFolder::~StagingFolder()
{
    if (_isAbandoned) {
        return;
    }
    std::error_code ignored;
    fs::remove_all(_previous, ignored); // first: without it, what is left is only unfinished
    fs::remove_all(_path, ignored);
}

bool StagingFolder::finish(bool mayReplace)
{
    const fs::path finished = _results / ((mayReplace ? replacing : finishing) + _id);
    if (rename(_path.c_str(), finished.c_str()) != 0) {
        return false;
    }
    _path = finished;
    return true;
}

void StagingFolder::giveUp()
{
    const fs::path given = _results / (unfinished + _id);
    if (rename(_path.c_str(), given.c_str()) == 0) {
        _path = given;
    }
}

void StagingFolder::makePrevious() const
{
    constexpr mode_t mode = 0700;
    mkdir(_previous.c_str(), mode);
}

Notes tidyUp(const fs::path& results)
{
    Notes notes;
    std::error_code ignored;
    for (fs::directory_iterator entry(results, ignored), end; entry != end; entry.increment(ignored)) {
        const std::string name = entry->path().filename().string();
        for (const char* prefix : {unfinished, finishing, replacing}) {
            const std::string id = findId(name, prefix);
            if (!id.empty()) {
                append(notes, LeftOver(results, prefix, id).settle());
            }
        }
    }
    return notes;
}

} // namespace vision::toolkit
