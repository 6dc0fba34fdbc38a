// SPDX-License-Identifier: Apache-2.0
/// What the standard library does not say about files.
#ifndef VISION_TOOLKIT_SRC_FILES_SYSTEM_H
#define VISION_TOOLKIT_SRC_FILES_SYSTEM_H

#include <filesystem>
#include <unistd.h>
#include <utility>

namespace vision::toolkit {

/// An open file, which is closed at the end of its life.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int number) : _number(number) {}
    Descriptor(Descriptor&& other) noexcept : _number(std::exchange(other._number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(_number, other._number);
        return *this;
    }
    ~Descriptor()
    {
        if (_number >= 0) {
            ::close(_number);
        }
    }

    int number() const { return _number; }
    bool isOpen() const { return _number >= 0; }

    /// Whether it could be closed: some file systems only then tell that the disk is full.
    bool close() { return ::close(std::exchange(_number, -1)) == 0; }

private:
    int _number = -1;
};

/// Opens a folder, but no link to one.
Descriptor openFolder(const std::filesystem::path& folder);

/// Whether it is a regular file without content, and no link to one.
bool isEmptyFile(const std::filesystem::path& file);

/// Writes a new file; never to one that exists, nor through a link.
/// @return whether all of it was written; otherwise errno says why not
bool writeNew(const std::filesystem::path& file, const void* bytes, std::size_t count);

/// Waits until a file or the names in a folder are on the disk.
/// @return false with errno when they cannot get there; true where the file system cannot say
bool flush(const std::filesystem::path& path);

/// Renames a file; never over another one.
/// @return false with errno, EEXIST when the name is taken
bool renameNew(const std::filesystem::path& file, const std::filesystem::path& name);

/// Gives a file the mode and, as far as this user may, the owner of another one.
void copyOwnership(const std::filesystem::path& from, const std::filesystem::path& to);

} // namespace vision::toolkit

#endif
