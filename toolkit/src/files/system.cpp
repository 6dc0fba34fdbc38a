// SPDX-License-Identifier: Apache-2.0
#include "files/system.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>

namespace vision::toolkit {

namespace fs = std::filesystem;

namespace {

bool isUnsupported(int error)
{
    return error == EINVAL || error == ENOSYS || error == EPERM || error == EOPNOTSUPP || error == EMLINK;
}

} // namespace

Descriptor openFolder(const fs::path& folder)
{
    return Descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool isEmptyFile(const fs::path& file)
{
    struct stat status = {};
    return lstat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size == 0;
}

bool writeNew(const fs::path& file, const void* bytes, std::size_t count)
{
    constexpr mode_t mode = 0666; // less what the user's mask takes away
    Descriptor descriptor(open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
    if (!descriptor.isOpen()) {
        return false;
    }
    constexpr std::size_t most = std::size_t{1} << 30; // more at once and Linux writes a part
    const auto* next = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t written = ::write(descriptor.number(), next, std::min(count, most));
        if (written < 0 && errno != EINTR) {
            return false;
        }
        const auto done = static_cast<std::size_t>(std::max<ssize_t>(written, 0));
        next += done;
        count -= done;
    }
    return descriptor.close();
}

bool flush(const fs::path& path)
{
    const Descriptor descriptor(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    return descriptor.isOpen() && (fsync(descriptor.number()) == 0 || isUnsupported(errno));
}

bool renameNew(const fs::path& file, const fs::path& name)
{
#if defined(RENAME_NOREPLACE)
    if (renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, name.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    if (!isUnsupported(errno)) {
        return false;
    }
#endif
    if (link(file.c_str(), name.c_str()) == 0) {
        return unlink(file.c_str()) == 0;
    }
    if (!isUnsupported(errno)) {
        return false;
    }
    struct stat taken = {};
    if (lstat(name.c_str(), &taken) == 0) {
        errno = EEXIST;
        return false;
    }
    return rename(file.c_str(), name.c_str()) == 0;
}

void copyOwnership(const fs::path& from, const fs::path& to)
{
    struct stat old = {};
    if (lstat(from.c_str(), &old) != 0) {
        return;
    }
    mode_t mode = old.st_mode & 0777U;
    if (lchown(to.c_str(), old.st_uid, old.st_gid) != 0 && lchown(to.c_str(), uid_t(-1), old.st_gid) != 0) {
        mode = (mode & ~070U) | (mode & 07U) << 3U; // of another group, which gets what all others have
    }
    chmod(to.c_str(), mode);
}

} // namespace vision::toolkit
